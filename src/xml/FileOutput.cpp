#include "xml/FileOutput.h"

#include "xml/XmlNames.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VxXmlLib16::detail {

namespace {

bool Utf8Path(const std::wstring& path, std::string& native)
{
    for (wchar_t c : path) {
        const auto u = static_cast<uint32_t>(c);
        if (u == 0 || (u >= 0xD800 && u <= 0xDFFF) || u > 0x10FFFF) {
            return false; // the kernel would cut at a zero; no UTF-8 form otherwise
        }
    }
    native.clear();
    AppendWide(native, path.data(), path.size());
    return !native.empty();
}

// The file a symbolic link points to, so that the link survives; path
// itself for anything else (also for a link that points nowhere yet).
std::string ResolveTarget(const std::string& path)
{
    struct stat link;
    if (::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode)) {
        if (char* real = ::realpath(path.c_str(), nullptr)) {
            std::string resolved(real);
            std::free(real);
            return resolved;
        }
    }
    return path;
}

// "dir/.name.vxxml-<pid>-<n>", unique within this process and, through the
// process id, among processes.
std::string TemporaryName(const std::string& target)
{
    static std::atomic<unsigned> counter{0};
    const size_t slash = target.rfind('/');
    const std::string folder =
        slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? target : target.substr(slash + 1);
    char suffix[48];
    std::snprintf(suffix, sizeof suffix, ".vxxml-%ld-%u", static_cast<long>(::getpid()),
                  counter.fetch_add(1));
    return folder + "." + name + suffix;
}

} // namespace

int CAtomicFile::Create(const std::wstring& path)
{
    Abandon();
    std::string native;
    if (!Utf8Path(path, native)) {
        return path.empty() ? ENOENT : EILSEQ;
    }
    m_target = ResolveTarget(native);
    struct stat existing;
    const bool exists = ::stat(m_target.c_str(), &existing) == 0;
    if (exists && S_ISDIR(existing.st_mode)) {
        return EISDIR;
    }
    if (exists && !S_ISREG(existing.st_mode)) {
        // A device, a pipe or a socket cannot be replaced (and must not be):
        // it is written where it stands.
        int fd;
        do {
            fd = ::open(m_target.c_str(), O_WRONLY | O_CLOEXEC);
        } while (fd < 0 && errno == EINTR);
        if (fd < 0) {
            return errno;
        }
        m_fd = fd;
        return 0;
    }
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::string temporary = TemporaryName(m_target);
        int fd;
        do {
            fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        } while (fd < 0 && errno == EINTR);
        if (fd >= 0) {
            m_fd = fd;
            m_temporary = std::move(temporary);
            // A replaced file keeps its permissions (its owner is ours; to
            // keep another's would need privileges we should not use).
            if (exists) {
                ::fchmod(m_fd, existing.st_mode & 07777);
            }
            return 0;
        }
        if (errno != EEXIST) {
            return errno;
        }
    }
    return EEXIST;
}

int CAtomicFile::Write(const unsigned char* bytes, size_t length)
{
    if (m_fd < 0) {
        return EBADF;
    }
    while (length != 0) {
        const ssize_t n = ::write(m_fd, bytes, length);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno;
        }
        if (n == 0) {
            return EIO; // no progress and no error: give up rather than spin
        }
        bytes += n;
        length -= static_cast<size_t>(n);
    }
    return 0;
}

int CAtomicFile::Commit()
{
    if (m_fd < 0) {
        return EBADF;
    }
    // Some file systems report a full disk only here or at close.
    int error = ::fdatasync(m_fd) != 0 && errno != EINVAL ? errno : 0;
    const int fd = m_fd;
    m_fd = -1;
    if (::close(fd) != 0 && errno != EINTR && error == 0) {
        error = errno;
    }
    if (m_temporary.empty()) {
        return error; // written in place
    }
    if (error == 0 && ::rename(m_temporary.c_str(), m_target.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        ::unlink(m_temporary.c_str());
    }
    m_temporary.clear();
    return error;
}

void CAtomicFile::Abandon() noexcept
{
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    if (!m_temporary.empty()) {
        ::unlink(m_temporary.c_str());
        m_temporary.clear();
    }
}

} // namespace VxXmlLib16::detail
