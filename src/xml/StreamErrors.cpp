#include "xml/StreamErrors.h"

#include "xml/XmlNames.h"

#include <cstring>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

namespace VxXmlLib16::detail {

void ThrowTextTooLong()
{
    throw CVxOverFlowException(L"Text buffer exceeds the maximum length of 4294967295 characters");
}

std::wstring SystemErrorText(int error)
{
    std::wstring text;
    const char* narrow = std::strerror(error);
    AppendUtf8(text, narrow, std::strlen(narrow));
    return text;
}

void ThrowFileOpenFailed(const std::wstring& path, int error)
{
    throw CVxException(FormatString(L"Failed to write data to the file [%s] error [0x%08X]: %s",
                                    path.c_str(), static_cast<unsigned>(error),
                                    SystemErrorText(error).c_str()));
}

void ThrowFileWriteFailed(const std::wstring& path, int error)
{
    throw CVxException(FormatString(L"Failed to write data to the file. Error [0x%08X]: %s: %s",
                                    static_cast<unsigned>(error), path.c_str(),
                                    SystemErrorText(error).c_str()));
}

} // namespace VxXmlLib16::detail
