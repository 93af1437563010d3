// The notification interface through which collections tell their owner that
// they changed.
#pragma once

#include <vxxml/Export.h>

namespace VxXmlLib16 {

class CXmlObjectBase;

class VXXML_API IEventSink
{
public:
    // What happened to the source. The data passed with each message:
    // - MsgType_CollectionChange: null; sent after every change of content.
    // - MsgType_CollectionAdd / MsgType_CollectionAddComplete: the item being
    //   added, before and after it is linked in.
    // - MsgType_CollectionRemove / MsgType_CollectionRemoveComplete: a pointer
    //   to the int index of the item, before and after it is removed. The
    //   pointer is valid only during the call.
    // - MsgType_NameChange / MsgType_NamespaceChange / MsgType_TextChange: an
    //   untyped element or attribute changed its name, namespace or text; the
    //   data is a pointer to the new value (a const std::wstring), valid only
    //   during the call.
    enum MsgType {
        MsgType_CollectionChange = 0,
        MsgType_CollectionAdd = 1,
        MsgType_CollectionAddComplete = 2,
        MsgType_CollectionRemove = 3,
        MsgType_CollectionRemoveComplete = 4,
        MsgType_NameChange = 5,
        MsgType_NamespaceChange = 6,
        MsgType_TextChange = 7,
    };

    virtual ~IEventSink() = default;

    // Called synchronously by the source; an exception thrown here propagates
    // to the code that changed the source.
    virtual void OnEvent(CXmlObjectBase* source, MsgType type, void* data) = 0;
};

} // namespace VxXmlLib16
