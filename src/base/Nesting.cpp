#include "base/Nesting.h"

#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

namespace VxXmlLib16::detail {

void ThrowNestedTooDeeply()
{
    throw CVxException(FormatString(L"The elements are nested more than %d levels deep; reading "
                                    L"or writing them would exhaust the stack",
                                    kMaxNestingDepth));
}

} // namespace VxXmlLib16::detail
