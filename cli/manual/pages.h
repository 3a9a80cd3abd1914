#pragma once

// What is made from the declared options of velhost, each as the text of one file.

#include <CLI/CLI.hpp>

#include <string>

namespace velhost {

/// The manual page, in the macros of man(7).
std::string ManPage(const CLI::App& app);

/// Completes options, their choices, names of methods and of files, in bash and in zsh.
std::string BashCompletion(const CLI::App& app);
std::string ZshCompletion(const CLI::App& app);

}  // namespace velhost
