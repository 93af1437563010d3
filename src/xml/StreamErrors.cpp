#include "xml/StreamErrors.h"

#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

namespace VxXmlLib16::detail {

void ThrowTextTooLong()
{
    throw CVxOverFlowException(L"Text buffer exceeds the maximum length of 4294967295 characters");
}

void ThrowFileOpenFailed(const std::wstring& path, int error)
{
    throw CVxException(FormatString(L"Failed to write data to the file [%s] error [0x%08X]",
                                    path.c_str(), static_cast<unsigned>(error)));
}

void ThrowFileWriteFailed(int error)
{
    throw CVxException(FormatString(L"Failed to write data to the file. Error [0x%08X]",
                                    static_cast<unsigned>(error)));
}

} // namespace VxXmlLib16::detail
