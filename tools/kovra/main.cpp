// kovra: inspect and decode images with libkovraimagecodec.
//
//   kovra info [--exif] [--json] FILE...   type, width, height, file size, frames and delays of each file,
//                                          and with --exif its EXIF record
//   kovra exif-thumb FILE -o OUT.jpg   the JPEG thumbnail of a file's EXIF block
//   kovra decode FILE -o DIR [--sample N] [--format rgba|bgra|index]
//                                          every frame of a GIF as a PNG in DIR, with the frame delays

#include <cstdio>
#include <cstring>

#include "commands.h"

namespace {

struct Command {
    const char *name;
    int (*run)(const kovra::tool::Arguments &);
    const char *usage;
};

constexpr Command kCommands[] = {
    {"info", kovra::tool::run_info, "info [--exif] [--json] FILE...  type, size, frames, delays (and EXIF)"},
    {"exif-thumb", kovra::tool::run_exif_thumb, "exif-thumb FILE -o OUT.jpg   write the EXIF thumbnail"},
    {"decode", kovra::tool::run_decode, "decode FILE -o DIR [--sample N] [--format rgba|bgra|index]\n"
                                        "                      every frame of a GIF as a PNG, with its delay"},
};

int usage(FILE *out) {
    std::fprintf(out, "usage: kovra COMMAND [ARGS]\n");
    for (const Command &command : kCommands) std::fprintf(out, "  kovra %s\n", command.usage);
    return out == stdout ? 0 : 2;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) return usage(stderr);
    if (std::strcmp(argv[1], "-h") == 0 || std::strcmp(argv[1], "--help") == 0) return usage(stdout);
    for (const Command &command : kCommands) {
        if (std::strcmp(argv[1], command.name) == 0) return command.run(kovra::tool::Arguments(argv + 2, argv + argc));
    }
    std::fprintf(stderr, "kovra: unknown command '%s'\n", argv[1]);
    return usage(stderr);
}
