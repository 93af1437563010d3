#include <vxxml/Exceptions.h>
#include <vxxml/WhitespaceUtils.h>

namespace VxXmlLib16 {

std::wstring CWhitespaceUtils::ApplyRule(WhitespaceRule rule, const std::wstring& text)
{
    switch (rule) {
    case WhitespaceRule_None:
        return text;
    case WhitespaceRule_Preserve:
        return Preserve(text);
    case WhitespaceRule_Replace:
        return Replace(text);
    case WhitespaceRule_Collapse:
        return Collapse(text);
    }
    throw CVxException(L"Unknown WhitespaceRule");
}

std::wstring CWhitespaceUtils::Preserve(const std::wstring& text)
{
    return text;
}

std::wstring CWhitespaceUtils::Preserve(const wchar_t* text, int length)
{
    if (text == nullptr || length <= 0) {
        return {};
    }
    return std::wstring(text, static_cast<size_t>(length));
}

std::wstring CWhitespaceUtils::Replace(const std::wstring& text)
{
    std::wstring out(text);
    for (wchar_t& c : out) {
        if (IsWhiteSpace(c)) {
            c = L' ';
        }
    }
    return out;
}

std::wstring CWhitespaceUtils::Collapse(const std::wstring& text)
{
    std::wstring out;
    out.reserve(text.size());
    bool pendingSpace = false;
    for (wchar_t c : text) {
        if (IsWhiteSpace(c)) {
            // A space is only written once a non-blank follows it, which drops
            // trailing runs and (since `out` is empty then) leading ones too.
            pendingSpace = !out.empty();
            continue;
        }
        if (pendingSpace) {
            out += L' ';
            pendingSpace = false;
        }
        out += c;
    }
    return out;
}

} // namespace VxXmlLib16
