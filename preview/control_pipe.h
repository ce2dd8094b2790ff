// The control pipe of a preview, as the program sees it. On Windows the
// calling application hosts a message-mode named pipe ("\\.\pipe\NAME")
// and the program opens it once as its client with CreateFileA, in the
// pipe's default byte read mode, so a message longer than one read arrives
// over several reads (control_pipe_win.cpp). On POSIX the application hosts
// a Unix-domain socket of type SOCK_SEQPACKET, which keeps message
// boundaries the way a message-mode named pipe does; a Windows pipe name
// (its "\\.\pipe\" prefix in any case, as Windows compares pipe names
// without case) is mapped to "$XDG_RUNTIME_DIR/NAME", or "/tmp/NAME" when that variable is
// unset, and any other name is used as a path (control_pipe.cpp).
//
// Every call returns 0 on success or the system's error number (errno, or
// GetLastError() on Windows), which the pipe thread prints.
#pragma once

#include <cstddef>
#include <string>

namespace preview {

/// The program's end of the pipe: a HANDLE on Windows, a descriptor on POSIX.
#if defined(_WIN32)
using PipeHandle = void*;
#else
using PipeHandle = int;
#endif

/// The socket path a pipe name stands for (the name itself on Windows).
std::string PipePath(const char* name);

/// Connects to the application's pipe or socket; no retry.
int ConnectPipe(const char* name, PipeHandle* pipe);

/// Receives one message of at most `capacity` bytes (on POSIX the rest of a
/// longer message is discarded, as the socket type does; on Windows it is
/// what the next read returns). `*received` is the number of bytes stored;
/// an orderly close of the other end is EPIPE (ERROR_BROKEN_PIPE on
/// Windows), while an empty message from a connected peer is a success with
/// 0 bytes.
int ReadMessage(PipeHandle pipe, char* buffer, size_t capacity, size_t* received);

/// Sends `size` bytes as one message; a peer that has gone is EPIPE (never a
/// signal; ERROR_NO_DATA on Windows).
int WriteMessage(PipeHandle pipe, const char* data, size_t size);

int ClosePipe(PipeHandle pipe);

} // namespace preview
