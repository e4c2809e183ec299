// Operating-system wrappers (POSIX, Linux). Each is stateless.
#pragma once

#include <fstream>
#include <string>
#include <vector>

std::string get_path_sep();

// Directory of the running executable, or "" when it cannot be read.
std::string get_executable_dir();

// Creates a new private directory "$TMP/shadex-XXXXXX" (TMP defaults to
// /tmp; an empty TMP counts as set). Throws std::runtime_error on failure.
std::string get_temp_dir();

// Removes an empty directory; the result is deliberately ignored by callers.
void remove_dir(const std::string& path);

// True only for an existing regular file (symbolic links are followed).
bool does_file_exist(const std::string& path);

bool is_file_empty(std::ifstream& file);

// Runs argv[0] (searched on PATH when it has no '/') with the given
// arguments, without a shell, appending its standard output to `output`.
// True exactly when the program ran and exited with status 0.
bool execute_command(const std::vector<std::string>& argv, std::string& output);

// realpath; throws KoroException_ naming the path and the system's reason.
std::string get_absolute_path(const std::string& path);
