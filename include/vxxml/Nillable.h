// Implemented by generated classes whose element is nillable.
#pragma once

#include <vxxml/Export.h>

namespace VxXmlLib16 {

class VXXML_API INillable
{
public:
    virtual ~INillable() = default;

    // True when the object is nil: it is written as an empty element carrying
    // xsi:nil="true".
    virtual bool IsNil() const = 0;
    // Makes the object nil or not. Reading calls it when the element carries
    // xsi:nil, so that a nil element reads back as nil.
    virtual void SetNil(bool nil) = 0;
};

} // namespace VxXmlLib16
