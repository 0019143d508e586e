// kovra: inspect and decode images with libkovraimagecodec.
//
//   kovra info [--exif] [--json] [--frames] FILE...
//   kovra exif-thumb FILE -o OUT.jpg
//   kovra decode FILE -o DIR [--sample N] [--format rgba|bgra|index] [--max-pixels N] [--allow-partial]
//   kovra decode PHOTO.jpg -o DIR [--scale 1/N] [--format rgba|gray|yuv444|yuv420] [--threads 1|2]
//   kovra --version | --help, kovra COMMAND --help

#include <cstdio>
#include <cstring>
#include <new>

#include "commands.h"

namespace {

struct Command {
    const char *name;
    int (*run)(const kovra::tool::Arguments &);
    const char *usage;
    const char *summary;
};

constexpr Command kCommands[] = {
    {"info", kovra::tool::run_info, "info [--exif] [--json] [--frames] FILE...",
     "type, size, frames and delays of each file; --exif adds its EXIF record, --frames the frames\n"
     "      the decoder delivers beside the header scan's"},
    {"exif-thumb", kovra::tool::run_exif_thumb, "exif-thumb FILE -o OUT.jpg",
     "write the JPEG thumbnail of a file's EXIF block"},
    {"decode", kovra::tool::run_decode,
     "decode FILE -o DIR [--sample N] [--format rgba|bgra|index] [--max-pixels N] [--allow-partial]\n"
     "       kovra decode PHOTO.jpg -o DIR [--scale 1/N] [--format rgba|gray|yuv444|yuv420]\n"
     "                    [--threads 1|2] [--max-pixels N]",
     "every frame of a GIF as a PNG in DIR, and (rgba, bgra) one animated PNG of all frames with\n"
     "      their delays; exits 1 when a frame fails unless --allow-partial.\n"
     "      A JPEG: DIR/NAME.png (rgba; gray: a grey palette PNG), or DIR/NAME.yuv, raw 8-bit planes\n"
     "      with rows packed: yuv444 Y, Cb, Cr each WxH; yuv420 Y WxH, then Cb and Cr each\n"
     "      ceil(W/2) x ceil(H/2). Prints the EXIF orientation (not applied); CMYK/YCCK, truncated\n"
     "      and corrupt files exit 1; Ctrl-C exits 130; no partial file is left. --scale 1/1..1/64;\n"
     "      from 1/16 each sample is one block's DC level, on one thread"},
};

const Command *find_command(const char *name) {
    for (const Command &command : kCommands) {
        if (std::strcmp(name, command.name) == 0) return &command;
    }
    return nullptr;
}

void print_command_help(FILE *out, const Command &command) {
    std::fprintf(out, "usage: kovra %s\n      %s\n", command.usage, command.summary);
}

int usage(FILE *out) {
    std::fprintf(out, "usage: kovra COMMAND [ARGS]   (kovra COMMAND --help for one command)\n"
                      "       kovra --version\n");
    for (const Command &command : kCommands) {
        std::fprintf(out, "  kovra %s\n      %s\n", command.usage, command.summary);
    }
    return out == stdout ? 0 : 2;
}

bool asks_for_help(int argc, char **argv) {
    for (int i = 2; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) return true;
    }
    return false;
}

}  // namespace

namespace kovra::tool {

int usage_error(const char *command, const std::string &problem) {
    std::fprintf(stderr, "kovra %s: %s\n", command, problem.c_str());
    if (const Command *found = find_command(command)) print_command_help(stderr, *found);
    return 2;
}

}  // namespace kovra::tool

int main(int argc, char **argv) {
    if (argc < 2) return usage(stderr);
    if (std::strcmp(argv[1], "-h") == 0 || std::strcmp(argv[1], "--help") == 0) return usage(stdout);
    if (std::strcmp(argv[1], "--version") == 0) {
        std::printf("kovra %s\n", KOVRA_VERSION);
        return 0;
    }
    const Command *command = find_command(argv[1]);
    if (command == nullptr) {
        std::fprintf(stderr, "kovra: unknown command '%s'\n", argv[1]);
        return usage(stderr);
    }
    if (asks_for_help(argc, argv)) {
        print_command_help(stdout, *command);
        return 0;
    }
    try {
        return command->run(kovra::tool::Arguments(argv + 2, argv + argc));
    } catch (const std::bad_alloc &) {
        std::fprintf(stderr, "kovra %s: out of memory\n", command->name);
        return 1;
    }
}
