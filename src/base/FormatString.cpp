#include <algorithm>
#include <climits>
#include <cstddef>
#include <cwchar>
#include <vector>
#include <vxxml/FormatString.h>

namespace VxXmlLib16 {
namespace {

// Width and precision beyond this are clamped for %s and %c (no message of
// the library comes anywhere near it).
constexpr int kMaxDigits = 1 << 20;

bool IsLengthModifier(wchar_t c)
{
    return c == L'h' || c == L'l' || c == L'L' || c == L'q' || c == L'j' || c == L'z' || c == L't';
}

// Formats one numeric conversion. Only the size of the buffer can make
// vswprintf fail for numbers, so growing it always ends.
template <typename T> void AppendNumber(std::wstring& out, const std::wstring& directive, T value)
{
    std::vector<wchar_t> buffer(128);
    for (;;) {
        const int written = std::swprintf(buffer.data(), buffer.size(), directive.c_str(), value);
        if (written >= 0 && static_cast<size_t>(written) < buffer.size()) {
            out.append(buffer.data(), static_cast<size_t>(written));
            return;
        }
        buffer.resize(buffer.size() * 4);
    }
}

// %s and %c are laid out here rather than by the C library: glibc's wide
// printf reads a bare %s as a narrow char* and %c as a narrow char, and it
// fails outright on a %lc whose value is WEOF (a wchar_t of -1, which any
// text can hold), which would lose the whole message.
void AppendText(std::wstring& out, const wchar_t* text, size_t length, bool leftAlign, int width)
{
    const size_t pad =
        width > 0 && static_cast<size_t>(width) > length ? static_cast<size_t>(width) - length : 0;
    if (!leftAlign) {
        out.append(pad, L' ');
    }
    out.append(text, length);
    if (leftAlign) {
        out.append(pad, L' ');
    }
}

} // namespace

std::wstring FormatStringV(const wchar_t* format, va_list args)
{
    if (format == nullptr) {
        return {};
    }
    va_list ap;
    va_copy(ap, args);
    std::wstring out;
    // Each conversion is taken from the argument list with its own type and
    // formatted on its own, so no call ever depends on the whole message.
    for (const wchar_t* p = format; *p;) {
        if (*p != L'%') {
            out += *p++;
            continue;
        }
        const wchar_t* const start = p++;
        if (*p == L'%') {
            out += L'%';
            ++p;
            continue;
        }
        std::wstring directive = L"%";
        bool leftAlign = false;
        int width = 0;
        int precision = -1;
        bool inPrecision = false;
        while (*p && std::wcschr(L"-+ #0123456789.*'", *p)) {
            if (*p == L'*') {
                const int n = va_arg(ap, int);
                if (inPrecision) {
                    if (n < 0) {
                        directive.pop_back(); // a negative precision counts as none
                    } else {
                        precision = n;
                        directive += std::to_wstring(n);
                    }
                } else {
                    leftAlign = leftAlign || n < 0;
                    width = n == INT_MIN ? INT_MAX : (n < 0 ? -n : n);
                    directive += std::to_wstring(n);
                }
                ++p;
                continue;
            }
            const bool digit = *p >= L'0' && *p <= L'9';
            if (*p == L'.') {
                inPrecision = true;
                precision = 0;
            } else if (inPrecision && digit) {
                precision = std::min(precision * 10 + (*p - L'0'), kMaxDigits);
            } else if (*p == L'-') {
                leftAlign = true;
            } else if (digit && (*p != L'0' || width != 0)) { // a leading 0 is a flag
                width = std::min(width * 10 + (*p - L'0'), kMaxDigits);
            }
            directive += *p++;
        }
        std::wstring length;
        while (*p && IsLengthModifier(*p)) {
            length += *p++;
        }
        const wchar_t conversion = *p;
        if (conversion == 0) {
            out.append(start, p); // an incomplete conversion stays as written
            break;
        }
        ++p;
        directive += length;
        directive += conversion;
        switch (conversion) {
        case L'd':
        case L'i':
            if (length == L"l") {
                AppendNumber(out, directive, va_arg(ap, long));
            } else if (length == L"ll" || length == L"q" || length == L"j") {
                AppendNumber(out, directive, va_arg(ap, long long));
            } else if (length == L"z" || length == L"t") {
                AppendNumber(out, directive, va_arg(ap, ptrdiff_t));
            } else {
                AppendNumber(out, directive, va_arg(ap, int));
            }
            break;
        case L'o':
        case L'u':
        case L'x':
        case L'X':
            if (length == L"l") {
                AppendNumber(out, directive, va_arg(ap, unsigned long));
            } else if (length == L"ll" || length == L"q" || length == L"j") {
                AppendNumber(out, directive, va_arg(ap, unsigned long long));
            } else if (length == L"z" || length == L"t") {
                AppendNumber(out, directive, va_arg(ap, size_t));
            } else {
                AppendNumber(out, directive, va_arg(ap, unsigned int));
            }
            break;
        case L'f':
        case L'F':
        case L'e':
        case L'E':
        case L'g':
        case L'G':
        case L'a':
        case L'A':
            if (length == L"L") {
                AppendNumber(out, directive, va_arg(ap, long double));
            } else {
                AppendNumber(out, directive, va_arg(ap, double));
            }
            break;
        case L'p':
            AppendNumber(out, directive, va_arg(ap, void*));
            break;
        case L'c': {
            const auto c = static_cast<wchar_t>(va_arg(ap, wint_t));
            AppendText(out, &c, 1, leftAlign, width);
            break;
        }
        case L's': {
            const wchar_t* text = va_arg(ap, const wchar_t*);
            if (text == nullptr) {
                text = L"(null)";
            }
            size_t n = std::wcslen(text);
            if (precision >= 0 && static_cast<size_t>(precision) < n) {
                n = static_cast<size_t>(precision);
            }
            AppendText(out, text, n, leftAlign, width);
            break;
        }
        case L'n':
            (void)va_arg(ap, void*); // never written through
            break;
        default:
            out.append(start, p); // unknown: kept as written, no argument taken
            break;
        }
    }
    va_end(ap);
    return out;
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
