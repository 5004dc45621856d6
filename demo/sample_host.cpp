// The sample host: what a Windows program does with mediakit.dll. It loads the DLL by name
// and runs each scene in turn, writing its frames to the output folder.
//
//   sample_host.exe [output folder]
#include "host.h"

namespace {

struct Entry {
    const char* name;
    demo::Scene run;
};

const Entry kScenes[] = {
    {"BMP files and the plain copy", demo::copy_scene},
    {"A compressed sound decoded through the ACM", demo::wave_scene},
    {"A scene transition through a mask", demo::transition_scene},
    {"Area-weighted scaling, hue and saturation", demo::scale_hsb_scene},
    {"Wipe, cross-fade, keyed sprites, panel and strip", demo::key_blend_scene},
    {"A picture breaking up into particles; a spline animation curve", demo::particles_scene},
};

}  // namespace

int main(int argc, char** argv) {
    demo::Host host{LoadLibraryA("mediakit.dll"), argc > 1 ? argv[1] : "."};
    if (!host.dll) {
        std::fprintf(stderr, "cannot load mediakit.dll (error %lu)\n", GetLastError());
        return 1;
    }
    CreateDirectoryA(host.out.c_str(), nullptr);
    int failed = 0;
    for (const Entry& scene : kScenes) {
        std::printf("== %s\n", scene.name);
        if (!scene.run(host)) {
            std::printf("   FAILED\n");
            ++failed;
        }
    }
    FreeLibrary(host.dll);
    return failed ? 1 : 0;
}
