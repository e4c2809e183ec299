#include "temporary_directory.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace reference {

TemporaryDirectory::TemporaryDirectory(const std::string& prefix) {
    const char* tmp = std::getenv("TMP");
    std::string base = tmp && *tmp ? tmp : "/tmp";
    std::string pattern = base + "/" + prefix + "-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    if (!::mkdtemp(name.data()))
        throw std::runtime_error("cannot create a temporary directory in " + base + ": " + std::strerror(errno));
    path_ = name.data();
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace reference
