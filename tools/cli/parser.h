#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace gwconf::tool {

/// Lets an application take every argument as it stands, and complain in gwctl's words. To be
/// called when it has all its verbs.
void set_up_parser(CLI::App& app);

/// Throws CLI::ParseError.
void parse(CLI::App& app, const std::vector<std::string>& words);

}  // namespace gwconf::tool
