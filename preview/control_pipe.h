// The control pipe of a preview, as the program sees it on POSIX: the
// calling application hosts a Unix-domain socket of type SOCK_SEQPACKET,
// which keeps message boundaries the way a message-mode named pipe does, and
// the program connects to it once as its client. A Windows pipe name
// ("\\.\pipe\NAME", its prefix in any case, as Windows compares pipe names
// without case) is mapped to "$XDG_RUNTIME_DIR/NAME", or "/tmp/NAME" when
// that variable is unset; any other name is used as a path.
//
// Every call returns 0 on success or an errno value, which the pipe thread
// prints where the Windows program printed GetLastError().
#pragma once

#include <cstddef>
#include <string>

namespace preview {

/// The socket path a pipe name stands for.
std::string PipePath(const char* name);

/// Connects to the application's socket; no retry.
int ConnectPipe(const char* name, int* fd);

/// Receives one message of at most `capacity` bytes (the rest of a longer
/// message is discarded, as the socket type does). `*received` is the number
/// of bytes stored; an orderly close of the other end is EPIPE, while an empty
/// message from a connected peer is a success with 0 bytes.
int ReadMessage(int fd, char* buffer, size_t capacity, size_t* received);

/// Sends `size` bytes as one message; a peer that has gone is EPIPE (never a
/// signal).
int WriteMessage(int fd, const char* data, size_t size);

int ClosePipe(int fd);

} // namespace preview
