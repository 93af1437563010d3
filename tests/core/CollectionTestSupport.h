// Helpers shared by the collection and untyped-content tests.
#pragma once

#include <functional>
#include <string>
#include <vector>
#include <vxxml/EventSink.h>
#include <vxxml/FormatString.h>
#include <vxxml/TextStream.h>
#include <vxxml/XmlTextWriter.h>

namespace VxTest {

// Records every message a collection sends, as short text: "add",
// "addComplete", "remove(2)", "removeComplete(0)", "change".
class CRecordingSink : public VxXmlLib16::IEventSink
{
public:
    void OnEvent(VxXmlLib16::CXmlObjectBase*, MsgType type, void* data) override
    {
        switch (type) {
        case MsgType_CollectionAdd:
            events.push_back(L"add");
            break;
        case MsgType_CollectionAddComplete:
            events.push_back(L"addComplete");
            break;
        case MsgType_CollectionRemove:
            events.push_back(VxXmlLib16::FormatString(L"remove(%d)", *static_cast<int*>(data)));
            break;
        case MsgType_CollectionRemoveComplete:
            events.push_back(
                VxXmlLib16::FormatString(L"removeComplete(%d)", *static_cast<int*>(data)));
            break;
        case MsgType_CollectionChange:
            events.push_back(L"change");
            break;
        default:
            events.push_back(VxXmlLib16::FormatString(L"%d:%s", static_cast<int>(type),
                                                      static_cast<std::wstring*>(data)->c_str()));
        }
    }
    std::vector<std::wstring> events;
};

// The unindented text that write produces between StartDocument and
// EndDocument of an XML text writer.
inline std::wstring WriteXml(const std::function<void(VxXmlLib16::CXmlWriter*)>& write)
{
    VxXmlLib16::CTextStream stream;
    VxXmlLib16::CXmlTextWriter writer(&stream);
    writer.SetFormatting(false);
    writer.StartDocument();
    write(&writer);
    writer.EndDocument();
    return stream.GetText();
}

} // namespace VxTest
