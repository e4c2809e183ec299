#include "suite/validator_includer.h"

#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <utility>

namespace {

// Deeper nesting is taken for an include cycle.
const size_t MAX_DEPTH = 200;
const char* const CYCLE = "nested more than 200 deep: an include cycle?";

std::string directory_of(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

}  // namespace

ValidatorIncluder::ValidatorIncluder(std::string source_directory, std::vector<std::string> search_dirs)
    : source_directory_(std::move(source_directory)), search_dirs_(std::move(search_dirs)) {}

bool ValidatorIncluder::enter(size_t depth) {
    if (depth > MAX_DEPTH) return false;
    open_dirs_.resize(depth);
    if (depth == 1) open_dirs_[0] = source_directory_;
    return true;
}

glslang::TShader::Includer::IncludeResult* ValidatorIncluder::includeLocal(const char* header, const char*,
                                                                          size_t depth) {
    local_failure_.clear();
    if (!enter(depth)) return failure(CYCLE);
    std::vector<std::string> order(open_dirs_.rbegin(), open_dirs_.rend());
    order.insert(order.end(), search_dirs_.begin(), search_dirs_.end());
    for (const std::string& directory : order)
        if (IncludeResult* result = read_candidate(directory, header)) return result;
    return nullptr;
}

glslang::TShader::Includer::IncludeResult* ValidatorIncluder::includeSystem(const char* header, const char*,
                                                                           size_t depth) {
    std::string earlier_failure;
    earlier_failure.swap(local_failure_);
    if (!enter(depth)) return failure(CYCLE);
    // The first search directory is the input's own, which serves "name" only.
    for (size_t index = 1; index < search_dirs_.size(); ++index)
        if (IncludeResult* result = read_candidate(search_dirs_[index], header)) return result;
    return earlier_failure.empty() ? nullptr : failure(earlier_failure);
}

glslang::TShader::Includer::IncludeResult* ValidatorIncluder::read_candidate(const std::string& directory,
                                                                            const std::string& header) {
    std::string path = directory + '/' + header;
    std::replace(path.begin(), path.end(), '\\', '/');
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return nullptr;
    if (S_ISDIR(status.st_mode)) return failure("it names a directory");
    if (!S_ISREG(status.st_mode)) return failure("it names something other than a file");
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) return failure("the file cannot be read");
    const size_t length = static_cast<size_t>(file.tellg());
    char* content = new char[length];
    file.seekg(0);
    file.read(content, static_cast<std::streamsize>(length));
    open_dirs_.push_back(directory_of(path));
    return new IncludeResult(path, content, length, content);
}

glslang::TShader::Includer::IncludeResult* ValidatorIncluder::failure(const std::string& reason) {
    local_failure_ = reason;
    const std::string message = "Could not process include directive (" + reason + ")";
    char* content = new char[message.size()];
    std::copy(message.begin(), message.end(), content);
    return new IncludeResult("", content, message.size(), content);
}

void ValidatorIncluder::releaseInclude(IncludeResult* result) {
    if (!result) return;
    delete[] static_cast<char*>(result->userData);
    delete result;
}
