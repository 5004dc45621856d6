#include "platform/lead_byte.h"

#include "platform/kernel32_calls.h"

namespace mediakit {

bool system_lead_byte(unsigned char c) { return kernel32().IsDBCSLeadByte(c) != 0; }

}  // namespace mediakit
