/* The public header as a host's first line. With MK_HOST_PACKED, after the host has chosen
 * a packing of its own: the header's layout checks then show that its records keep theirs. */
#if defined(MK_HOST_PACKED)
#pragma pack(push, 1)
#endif
#include "mediakit.h"
