// The framing between the back-end and its resident tool process: a request
// is a list of strings, a reply one status. Lengths go first, in the host's
// byte order (both ends are on one machine).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace reference {

// Both return false when the other end has gone (or the message is cut
// short); fd is a stream socket, so writing never raises SIGPIPE.
bool send_strings(int fd, const std::vector<std::string>& strings);
bool receive_strings(int fd, std::vector<std::string>& strings);

bool send_status(int fd, int32_t status);

// The resident process leaves after a run that ended this way (a crash the
// compiler caught leaves state nobody should trust); the back-end knows it
// from the status, so it never sends to a process on its way out.
inline bool leaves_after(int32_t status) { return status > 1 && status != 255; }
bool receive_status(int fd, int32_t& status);

}  // namespace reference
