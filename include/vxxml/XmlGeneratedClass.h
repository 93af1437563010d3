// The base of every class emitted by the code generator.
#pragma once

#include <atomic>
#include <mutex>
#include <vxxml/CriticalSection.h>
#include <vxxml/ElementInfo.h>
#include <vxxml/Export.h>
#include <vxxml/XmlObjectBase.h>

namespace VxXmlLib16Data {
class CParentElementInfo;
class CAttributeInfo;
} // namespace VxXmlLib16Data

namespace VxXmlLib16 {

class CXmlAttribute;
struct VxVariant;

// Generated code describes its content through metadata tables and reaches
// its properties through one accessor; this class walks the tables.
class VXXML_API CXmlGeneratedClass : public CXmlObjectBase
{
public:
    CXmlGeneratedClass();
    explicit CXmlGeneratedClass(const wchar_t* elementName);
    CXmlGeneratedClass(const CXmlGeneratedClass&) = default;
    CXmlGeneratedClass& operator=(const CXmlGeneratedClass&) = default;
    ~CXmlGeneratedClass() override;

    // A generated object stands for itself.
    CXmlObjectBase* GetBase() override { return this; }

    // Writes the object as its element: on the document root first the
    // context's processing instructions, namespace declarations and extra
    // root attributes; then xsi:type for a derived class used under another
    // name, the attributes, and the content (xsi:nil for a nil object). A
    // class merged into its parent (element type not 0) writes only its
    // content. Failures come back wrapped as "Failed to convert the element
    // [name] to XML".
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const wchar_t* namespaceUri,
                   const CSerializationContext& context, bool isOptional) const override;
    void AttributesToXml_Int(CXmlWriter* writer,
                             const CSerializationContext& context) const override;
    // Reads the object from element: Init(), attributes, then the children
    // from firstChild on by the class's compositor. Returns the next sibling
    // of element (a merged class: the first sibling it did not consume). The
    // first failure gets the path of the element it happened in.
    //
    // Reading xsi:nil="true" calls the object's INillable::SetNil(true): a
    // nil element must read back as nil. A merged class reads no attributes
    // of its own.
    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild,
                             const CSerializationContext& context, bool isOptional) override;

    // Deletes a class's metadata tables and nulls the three pointers.
    static void CleanMetaData(VxXmlLib16Data::CParentElementInfo*& classInfo,
                              VxXmlLib16Data::CElementInfo**& elementInfo,
                              VxXmlLib16Data::CAttributeInfo**& attributeInfo);

    // Reads (read = true: fill value) or writes (read = false: take value)
    // the property with that index.
    virtual void AccessProperty(int index, bool read, VxVariant& value) = 0;
    // The description of the class itself.
    virtual VxXmlLib16Data::CParentElementInfo* GetClassInfo() const = 0;
    // The class's child elements in schema order, terminated by a null entry.
    virtual VxXmlLib16Data::CElementInfo** GetClassElementInfo() const = 0;
    // The class's attributes, terminated by a null entry.
    virtual VxXmlLib16Data::CAttributeInfo** GetClassAttributeInfo() const = 0;
    // Resets every property to its default; every read starts with it.
    virtual void Init() = 0;

    // AccessProperty(index, true, value): reading a property does not change
    // the object.
    void ReadProperty(int index, VxVariant& value) const;
    // The number of entries of GetClassElementInfo() before its null entry.
    int GetClassElementInfoCount() const;

    // The three metadata tables of one generated class.
    struct CClassMetaData
    {
        VxXmlLib16Data::CParentElementInfo* pClassInfo = nullptr;
        VxXmlLib16Data::CElementInfo** ppElementInfo = nullptr;     // null-terminated
        VxXmlLib16Data::CAttributeInfo** ppAttributeInfo = nullptr; // null-terminated
    };

protected:
    // Makes a class's tables on first use, whichever thread comes first, and
    // answers them without locking afterwards. slot is the class's own
    // static; build makes the tables (called once, under m_csInit).
    // Every write and read asks for the tables several times per object, so
    // the answer once they exist is one load, inlined into the caller; the
    // first use takes the out-of-line path.
    template <class Build>
    static const CClassMetaData& GetMetaDataOnce(std::atomic<CClassMetaData*>& slot, Build build)
    {
        if (const CClassMetaData* tables = slot.load(std::memory_order_acquire)) [[likely]] {
            return *tables;
        }
        return BuildMetaDataOnce(slot, build);
    }

    template <class Build>
    [[gnu::noinline, gnu::cold]] static const CClassMetaData&
    BuildMetaDataOnce(std::atomic<CClassMetaData*>& slot, Build& build)
    {
        std::lock_guard<CVXCriticalSection> lock(m_csInit);
        CClassMetaData* tables = slot.load(std::memory_order_relaxed);
        if (tables == nullptr) {
            tables = new CClassMetaData(build());
            slot.store(tables, std::memory_order_release);
        }
        return *tables;
    }

    // Whether any element of the class's table takes element.
    bool IsElementInList(const CSerializationContext& context, CXmlElement* element) const;
    // True when a member of the class can be satisfied by nothing (a
    // collection with minOccurs 0), which makes an empty choice acceptable.
    bool DoesElementContainOptionalElements() const;

    // Serializes the one-time creation of every generated class's metadata
    // tables, which happens on first use from whichever thread comes first.
    static CVXCriticalSection m_csInit;

private:
    void WriteContent(const CSerializationContext& context, CXmlWriter* writer, bool isOptional,
                      const VxXmlLib16Data::CParentElementInfo& info,
                      VxXmlLib16Data::CElementInfo** elements) const;
    void ProcessAttributesToXml(const CSerializationContext& context,
                                VxXmlLib16Data::CElementInfo** elements,
                                VxXmlLib16Data::CAttributeInfo** attributes,
                                CXmlWriter* writer) const;
    void ProcessElementSeqToXml(const CSerializationContext& context,
                                VxXmlLib16Data::CElementInfo** elements, CXmlWriter* writer) const;
    void ProcessElementAllToXml(const CSerializationContext& context,
                                VxXmlLib16Data::CElementInfo** elements, CXmlWriter* writer) const;
    void ProcessElementChoiceToXml(const CSerializationContext& context,
                                   VxXmlLib16Data::CElementInfo** elements, CXmlWriter* writer,
                                   bool isOptional) const;
    void ProcessAttributesFromXml(const CSerializationContext& context, CXmlElement* element,
                                  bool failIfUnknown);
    void ReadNilAttribute(const CXmlAttribute& attribute);
    CXmlElement* ProcessElementSeqFromXml(const CSerializationContext& context,
                                          CXmlElement* element, CXmlElement* child,
                                          VxXmlLib16Data::XmlElementType type);
    CXmlElement* ProcessElementAllFromXml(const CSerializationContext& context,
                                          CXmlElement* element, CXmlElement* child,
                                          VxXmlLib16Data::XmlElementType type);
    CXmlElement* ProcessElementChoiceFromXml(const CSerializationContext& context,
                                             CXmlElement* element, CXmlElement* child,
                                             VxXmlLib16Data::XmlElementType type, bool isOptional);
    void ReadSimpleContent(const VxXmlLib16Data::CParentElementInfo& info,
                           const CXmlElement& element);
};

} // namespace VxXmlLib16
