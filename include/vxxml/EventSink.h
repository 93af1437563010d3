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
    enum MsgType {
        MsgType_CollectionChange = 0,
        MsgType_CollectionAdd = 1,
        MsgType_CollectionAddComplete = 2,
        MsgType_CollectionRemove = 3,
        MsgType_CollectionRemoveComplete = 4,
    };

    virtual ~IEventSink() = default;

    // Called synchronously by the source; an exception thrown here propagates
    // to the code that changed the source.
    virtual void OnEvent(CXmlObjectBase* source, MsgType type, void* data) = 0;
};

} // namespace VxXmlLib16
