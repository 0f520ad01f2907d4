#pragma once

/// The library's Python package, as a program to run.

#include <filesystem>
#include <string>
#include <vector>

namespace norv::tools {

/// Folders with a package camera_parameters that belong to the program in the folder
/// `program_folder`: of the prefix that it is installed in, or of the build tree. Empty where there
/// are none.
std::vector<std::filesystem::path> packageFoldersOf(const std::filesystem::path& program_folder);

/// Replaces this process by `python3 -m module word...`, without a shell, by the first of the
/// python3 in PATH and /usr/bin/python3 that can import the module, but nothing is imported from
/// the current folder. The package beside this program goes before others in PYTHONPATH. Returns
/// where there is none.
void becomePython(const std::string& module, const std::vector<std::string>& words);

}  // namespace norv::tools
