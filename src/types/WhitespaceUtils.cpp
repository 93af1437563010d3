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

void CWhitespaceUtils::ApplyRuleInPlace(WhitespaceRule rule, std::wstring& text)
{
    switch (rule) {
    case WhitespaceRule_None:
    case WhitespaceRule_Preserve:
        return;
    case WhitespaceRule_Replace:
        for (wchar_t& c : text) {
            if (IsWhiteSpace(c)) {
                c = L' ';
            }
        }
        return;
    case WhitespaceRule_Collapse: {
        // The collapsed text is never longer, so it is written over the
        // original from the front.
        size_t out = 0;
        bool pendingSpace = false;
        for (const wchar_t c : text) {
            if (IsWhiteSpace(c)) {
                pendingSpace = out != 0;
                continue;
            }
            if (pendingSpace) {
                text[out++] = L' ';
                pendingSpace = false;
            }
            text[out++] = c;
        }
        text.resize(out);
        return;
    }
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
