// What every scene of the sample host shares: the DLL loaded by name, its exports looked up
// by name as a host that loads it at run time does, and the folder the frames go to.
#pragma once

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "mediakit.h"

namespace demo {

struct Host {
    HMODULE dll;
    std::string out;  ///< output folder, no trailing slash

    /// The export of that name, typed like its prototype; a missing one ends the demo.
    template <class F>
    F* get(const char* name) const {
        auto* f = reinterpret_cast<F*>(reinterpret_cast<void*>(GetProcAddress(dll, name)));
        if (!f) {
            std::fprintf(stderr, "mediakit.dll has no %s\n", name);
            std::exit(1);
        }
        return f;
    }
    std::string path(const std::string& name) const { return out + "/" + name; }
};

#define MK_GET(host, name) (host).get<decltype(name)>(#name)

/// A scene runs one road through the library, prints what it did, and says whether its
/// own checks held.
using Scene = bool (*)(const Host&);

bool copy_scene(const Host& host);
bool wave_scene(const Host& host);
bool transition_scene(const Host& host);
bool scale_hsb_scene(const Host& host);
bool key_blend_scene(const Host& host);
bool particles_scene(const Host& host);

}  // namespace demo
