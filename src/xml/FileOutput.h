// Files that the library writes: whole or not at all. Internal.
#pragma once

#include <cstddef>
#include <string>

namespace VxXmlLib16::detail {

// The bytes go to a temporary file in the target's folder, which replaces
// the target by rename only once everything was written and the data are on
// disk. On any failure, or when the object goes away uncommitted, the
// temporary file is removed and the target is untouched: a failed write
// never cuts an existing file short, and the output may be the file being
// read. An existing target keeps its permission bits; a new one gets
// 0666 less the process's umask, as open() would give it. A target that is
// a symbolic link stays one: the file it points to is replaced. A target
// that is no regular file (a device such as /dev/stdout, a pipe) cannot be
// replaced and is written in place.
//
// Every method that can fail returns 0 or the errno value.
class CAtomicFile
{
public:
    CAtomicFile() = default;
    ~CAtomicFile() { Abandon(); }
    CAtomicFile(const CAtomicFile&) = delete;
    CAtomicFile& operator=(const CAtomicFile&) = delete;

    // Creates the temporary file for path (a wide path is taken as UTF-8;
    // one with no UTF-8 form fails with EILSEQ). Abandons a previous one.
    int Create(const std::wstring& path);
    bool IsOpen() const { return m_fd >= 0; }
    // Writes all bytes, resuming after partial writes and signals.
    int Write(const unsigned char* bytes, size_t length);
    // Syncs, closes and renames the temporary file over the target. On
    // failure the temporary file is removed.
    int Commit();
    // Closes and removes the temporary file, if any.
    void Abandon() noexcept;

private:
    std::string m_target;
    std::string m_temporary;
    int m_fd = -1;
};

} // namespace VxXmlLib16::detail
