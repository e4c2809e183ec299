#include "tool_messages.h"

#include <cerrno>

#include <sys/socket.h>
#include <unistd.h>

namespace reference {

namespace {

// Far above any command line; a longer length means a corrupted stream.
constexpr uint32_t LONGEST_STRING = 1u << 24;
constexpr uint32_t MOST_STRINGS = 1u << 16;

bool write_all(int fd, const void* data, size_t size) {
    const char* bytes = static_cast<const char*>(data);
    while (size > 0) {
        // MSG_NOSIGNAL turns a vanished reader into an error.
        ssize_t written = ::send(fd, bytes, size, MSG_NOSIGNAL);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

bool read_all(int fd, void* data, size_t size) {
    char* bytes = static_cast<char*>(data);
    while (size > 0) {
        ssize_t got = ::read(fd, bytes, size);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        bytes += got;
        size -= static_cast<size_t>(got);
    }
    return true;
}

bool read_number(int fd, uint32_t& number) { return read_all(fd, &number, sizeof number); }

}  // namespace

bool send_strings(int fd, const std::vector<std::string>& strings) {
    std::string message;
    auto append_number = [&](uint32_t number) {
        message.append(reinterpret_cast<const char*>(&number), sizeof number);
    };
    append_number(static_cast<uint32_t>(strings.size()));
    for (const std::string& text : strings) {
        if (text.size() > LONGEST_STRING) return false;
        append_number(static_cast<uint32_t>(text.size()));
        message += text;
    }
    return write_all(fd, message.data(), message.size());
}

bool receive_strings(int fd, std::vector<std::string>& strings) {
    uint32_t count = 0;
    if (!read_number(fd, count) || count > MOST_STRINGS) return false;
    strings.assign(count, std::string());
    for (std::string& text : strings) {
        uint32_t length = 0;
        if (!read_number(fd, length) || length > LONGEST_STRING) return false;
        text.resize(length);
        if (length > 0 && !read_all(fd, text.data(), length)) return false;
    }
    return true;
}

bool send_status(int fd, int32_t status) { return write_all(fd, &status, sizeof status); }

bool receive_status(int fd, int32_t& status) { return read_all(fd, &status, sizeof status); }

}  // namespace reference
