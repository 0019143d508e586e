// Subcommands of the kovra tool. Each takes the arguments after its name and returns the
// process exit status.
#pragma once

#include <string>
#include <vector>

namespace kovra::tool {

using Arguments = std::vector<std::string>;

int run_info(const Arguments &args);
int run_exif_thumb(const Arguments &args);
int run_decode(const Arguments &args);

}  // namespace kovra::tool
