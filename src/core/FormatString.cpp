#include <cwchar>
#include <vector>
#include <vxxml/FormatString.h>

namespace VxXmlLib16 {
namespace {

bool IsLengthModifier(wchar_t c)
{
    return c == L'h' || c == L'l' || c == L'L' || c == L'q' || c == L'j' || c == L'z' || c == L't';
}

// glibc's wide printf reads a bare %s as a narrow char* and %c as a narrow
// char. Our messages mean wide text, so give every %s and %c without a length
// modifier an explicit 'l' before handing the format over.
std::wstring WidenConversions(const wchar_t* format)
{
    std::wstring out;
    out.reserve(std::wcslen(format) + 8);
    for (const wchar_t* p = format; *p;) {
        if (*p != L'%') {
            out += *p++;
            continue;
        }
        out += *p++;
        if (*p == L'%') {
            out += *p++;
            continue;
        }
        // flags, width, precision (including '*')
        while (*p && std::wcschr(L"-+ #0123456789.*'", *p)) {
            out += *p++;
        }
        bool hasLength = false;
        while (*p && IsLengthModifier(*p)) {
            hasLength = true;
            out += *p++;
        }
        if ((*p == L's' || *p == L'c') && !hasLength) {
            out += L'l';
        }
        if (*p) {
            out += *p++;
        }
    }
    return out;
}

} // namespace

std::wstring FormatStringV(const wchar_t* format, va_list args)
{
    if (format == nullptr) {
        return {};
    }
    const std::wstring wide = WidenConversions(format);

    // vswprintf reports "too small" and real errors alike as -1, so grow the
    // buffer a bounded number of times before giving up on the format.
    std::vector<wchar_t> buffer(256);
    constexpr size_t kMaxChars = size_t(1) << 26;
    for (;;) {
        va_list copy;
        va_copy(copy, args);
        const int written = std::vswprintf(buffer.data(), buffer.size(), wide.c_str(), copy);
        va_end(copy);
        if (written >= 0 && static_cast<size_t>(written) < buffer.size()) {
            return std::wstring(buffer.data(), static_cast<size_t>(written));
        }
        if (buffer.size() >= kMaxChars) {
            return wide; // an unformattable format: return it rather than lose it
        }
        buffer.resize(buffer.size() * 4);
    }
}

std::wstring FormatString(const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    std::wstring result = FormatStringV(format, args);
    va_end(args);
    return result;
}

} // namespace VxXmlLib16
