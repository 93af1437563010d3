// POSIX file output shared by the file streams. Internal.
#pragma once

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vxxml/Encoder.h>
#include <vxxml/Exceptions.h>

namespace VxXmlLib16::detail {

// Creates or truncates path for writing. Returns the descriptor, or -1 with
// errno set. File names are bytes on Linux; the wide path is taken as UTF-8,
// and a path with no UTF-8 form fails with EILSEQ.
inline int CreateForWrite(const std::wstring& path)
{
    std::string native;
    try {
        const CBinaryData bytes = Utf16ToUtf8(path.data(), path.size());
        native.assign(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetLength());
    } catch (const CVxException&) {
        errno = EILSEQ;
        return -1;
    }
    if (native.find('\0') != std::string::npos) {
        errno = EINVAL; // the kernel would silently use only the part before it
        return -1;
    }
    int fd;
    do {
        fd = ::open(native.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

// Writes all bytes, resuming after partial writes and signals. Returns false
// with errno set on failure.
inline bool WriteAll(int fd, const unsigned char* bytes, size_t length)
{
    while (length != 0) {
        const ssize_t n = ::write(fd, bytes, length);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        if (n == 0) {
            errno = EIO; // no progress and no error: give up rather than spin
            return false;
        }
        bytes += n;
        length -= static_cast<size_t>(n);
    }
    return true;
}

// Closes fd; returns 0, or the errno of a failed close (a late write error
// on some file systems). EINTR is not retried: the descriptor is gone.
inline int CloseFile(int fd)
{
    if (::close(fd) != 0 && errno != EINTR) {
        return errno;
    }
    return 0;
}

} // namespace VxXmlLib16::detail
