// Subcommands of the kovra tool. Each takes the arguments after its name and returns the
// process exit status: 0 success, 1 a file could not be read, identified or decoded, 2 a usage
// error.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kovra::tool {

using Arguments = std::vector<std::string>;

// The largest image, in pixels, a command decodes or reads whole unless --max-pixels raises it.
inline constexpr int64_t kDefaultMaxPixels = int64_t{64} << 20;

int run_info(const Arguments &args);
int run_exif_thumb(const Arguments &args);
int run_decode(const Arguments &args);

// "kovra COMMAND: PROBLEM" and the command's usage on stderr; returns 2.
int usage_error(const char *command, const std::string &problem);

}  // namespace kovra::tool
