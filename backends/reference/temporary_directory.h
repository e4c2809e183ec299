// A private directory for the files of one compile, removed with everything
// in it when the owner goes out of scope, whichever way it leaves.
#pragma once

#include <string>

namespace reference {

class TemporaryDirectory {
public:
    // Created under $TMP, or /tmp when TMP is unset or empty, with a unique
    // name starting with prefix. Throws std::runtime_error on failure.
    explicit TemporaryDirectory(const std::string& prefix);
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

}  // namespace reference
