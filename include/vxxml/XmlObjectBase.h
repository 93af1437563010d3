// The base of every bound object: element name, reference count, the
// serialization slots and the helpers that generated code builds on.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vxxml/EventSink.h>
#include <vxxml/Export.h>
#include <vxxml/SerializationContext.h>
#include <vxxml/XmlEncoding.h>

namespace VxXmlLib16Data {
class CPrimitiveRestrictions;
}

namespace VxXmlLib16 {

class CXmlWriter;
class CXmlElement;
class CElement;
class CBigInteger;
class CBinaryData;
class CDateTime;
class CDateTimeSpan;
class CDecimal;
struct VxVariant;

// Bound objects live on the heap and are shared through an intrusive
// reference count (see CSmartPtr). A new object starts with a count of 0;
// the first holder takes the first reference, and the last Release destroys
// the object. Objects are not thread-safe; only the count is atomic.
class VXXML_API CXmlObjectBase : public IEventSink
{
public:
    CXmlObjectBase();
    explicit CXmlObjectBase(const wchar_t* elementName);
    // A copy is a new object: it takes the element name, and its count
    // starts at 0 whatever the source's count is.
    CXmlObjectBase(const CXmlObjectBase& other);
    // Copies the element name; the count of each side is left alone, since
    // the holders of this object are not the holders of the source.
    CXmlObjectBase& operator=(const CXmlObjectBase& other);

    // Ignores every message. Classes that care about their collections
    // (a choice that holds a collection) override it.
    void OnEvent(CXmlObjectBase* source, MsgType type, void* data) override;

    // The object that stands for this one in the tree; collections return
    // themselves.
    virtual CXmlObjectBase* GetBase() = 0;

    // Writing the object as an XML document. header adds the XML declaration
    // (naming UTF-8 or UTF-16 after the encoding; none for the encodings 0
    // and 3), prettyPrint indents with the context's IndentChars, eol picks
    // CR LF or LF. Invalid values throw CVxException ("Invalid EOL type.").
    //
    // As text: the declaration, if any, names no encoding.
    virtual std::wstring
    ToXml(bool header = true, bool prettyPrint = true, EOLType eol = EOL_LF,
          const CSerializationContext& context = CSerializationContext::GetDefaultContext()) const;
    // To a file, written as it is produced (memory stays flat). gzip output
    // is made in memory and then written; zlib is refused with "ZLIB
    // Compression only available for To Stream methods.".
    virtual void
    ToXmlFile(const wchar_t* fileName, bool header = true, bool prettyPrint = true,
              XmlEncoding encoding = XmlEncoding_UTF8, EOLType eol = EOL_LF,
              const CSerializationContext& context = CSerializationContext::GetDefaultContext(),
              CompressionType compression = Compression_None) const;
    // To bytes in the encoding, optionally gzip or zlib compressed.
    virtual CBinaryData
    ToXmlStream(bool header = true, bool prettyPrint = false,
                XmlEncoding encoding = XmlEncoding_UTF8, EOLType eol = EOL_LF,
                const CSerializationContext& context = CSerializationContext::GetDefaultContext(),
                CompressionType compression = Compression_None) const;

    // Reading the object from an XML document: the document element is read
    // into this object, which takes over its name. Files and bytes may be
    // gzip or zlib compressed (detected by themselves); bytes and files in
    // UTF-8 or UTF-16 are recognised by byte-order mark or declaration.
    // Failures throw CVxException (or a subclass) with the path of the
    // element at fault.
    virtual void
    FromXmlFile(const wchar_t* fileName,
                const CSerializationContext& context = CSerializationContext::GetDefaultContext());
    virtual void
    FromXml(const wchar_t* xml,
            const CSerializationContext& context = CSerializationContext::GetDefaultContext());
    // Bytes up to the terminating NUL.
    virtual void
    FromXml(const char* xml,
            const CSerializationContext& context = CSerializationContext::GetDefaultContext());
    virtual void FromXmlStream(
        const CBinaryData& data,
        const CSerializationContext& context = CSerializationContext::GetDefaultContext());
    virtual void FromXmlStream(
        const unsigned char* data, uint32_t length,
        const CSerializationContext& context = CSerializationContext::GetDefaultContext());
    // From untyped content or from an element of a document already read.
    virtual void FromXmlElement(CElement* element, const CSerializationContext& context =
                                                       CSerializationContext::GetDefaultContext());
    virtual void FromXmlElement(
        CXmlElement* element,
        const CSerializationContext& context = CSerializationContext::GetDefaultContext());

    ~CXmlObjectBase() override;

    // The target namespace of the schema the object's class came from, and
    // the namespace of the element it is written as.
    virtual std::wstring GetTargetNamespace() const = 0;
    virtual std::wstring GetNamespace() const = 0;

    // The three operations behind every write and read. AttributesToXml_Int
    // writes the object's attributes on an element already opened by the
    // caller. ToXml_Int writes the object as an element (or, for content
    // merged into its parent, only its content) in the given namespace; isRoot
    // adds what the context puts on the document root. FromXml_Int reads the
    // object from element, consuming child elements from firstChild on, and
    // returns the first sibling it did not consume (or null).
    virtual void AttributesToXml_Int(CXmlWriter* writer,
                                     const CSerializationContext& context) const = 0;
    virtual void ToXml_Int(CXmlWriter* writer, bool isRoot, const wchar_t* namespaceUri,
                           const CSerializationContext& context, bool isOptional) const = 0;
    virtual CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild,
                                     const CSerializationContext& context, bool isOptional) = 0;

    // The local name under which the object is written when it is the
    // document root or when no metadata names it. Null sets it empty.
    const std::wstring& GetElementName() const { return m_strElementName; }
    void SetElementName(const wchar_t* name);

    // Return the count after the change. Release destroys the object through
    // its virtual destructor when the count reaches 0 (and then returns 0).
    int32_t AddRef();
    int32_t Release();

    // Checks a value against the facets of its member by dispatching on the
    // variant's kind to the Throw_IfInvalid_<kind> check below; this is the
    // entry point of element and attribute metadata, which hold the
    // restrictions and see values only as variants. A nil variant has no
    // value and passes. A variant of a kind without a check (no value, a
    // bound object, a collection) throws CVxInvalidValueException
    // "Unknown type [%d] for the value of %s" (kind number, name).
    static void Throw_IfInvalidValue(const wchar_t* name, const VxVariant& value,
                                     const VxXmlLib16Data::CPrimitiveRestrictions& restrictions);

protected:
    // Facet checks, one per value kind, called by generated setters and typed
    // collections before a value is stored. Each throws CVxException (the
    // base class) whose message names the member (name) and the value, and
    // stops at the first facet that fails, in this order: minInclusive,
    // maxInclusive, minExclusive, maxExclusive, then the length or digit
    // facets. Bounds are read with the kind's conversion under the collapse
    // rule each time; a bound that does not convert throws the conversion's
    // exception.
    //
    // Integer kinds: "Invalid Value for %s [%d]" ([%s]. with the text for
    // i8 and ui8). totalDigits is compared with the length of the whole
    // lexical form, so a minus sign counts: -123 breaks totalDigits 3. (The
    // unsigned kinds print their true value, never a wrapped negative one.)
    using Restrictions = VxXmlLib16Data::CPrimitiveRestrictions;
    static void Throw_IfInvalid_i1(const wchar_t* name, int8_t value, const Restrictions& r);
    static void Throw_IfInvalid_i2(const wchar_t* name, int16_t value, const Restrictions& r);
    static void Throw_IfInvalid_i4(const wchar_t* name, int32_t value, const Restrictions& r);
    static void Throw_IfInvalid_i8(const wchar_t* name, int64_t value, const Restrictions& r);
    static void Throw_IfInvalid_ui1(const wchar_t* name, uint8_t value, const Restrictions& r);
    static void Throw_IfInvalid_ui2(const wchar_t* name, uint16_t value, const Restrictions& r);
    static void Throw_IfInvalid_ui4(const wchar_t* name, uint32_t value, const Restrictions& r);
    static void Throw_IfInvalid_ui8(const wchar_t* name, uint64_t value, const Restrictions& r);
    // Bounds only: "Invalid Value for %s [%f]". NaN fails every bound.
    static void Throw_IfInvalid_r4(const wchar_t* name, float value, const Restrictions& r);
    static void Throw_IfInvalid_r8(const wchar_t* name, double value, const Restrictions& r);
    // xs:gYear, xs:gMonth, xs:gDay as numbers; bounds only, "[%d]".
    static void Throw_IfInvalid_year(const wchar_t* name, uint16_t value, const Restrictions& r);
    static void Throw_IfInvalid_month(const wchar_t* name, uint8_t value, const Restrictions& r);
    static void Throw_IfInvalid_day(const wchar_t* name, uint8_t value, const Restrictions& r);
    // Date and time kinds and durations: bounds through CompareTo,
    // "Invalid Value for %s [%s]." with the value's ToString().
    static void Throw_IfInvalid_date(const wchar_t* name, const CDateTime& value,
                                     const Restrictions& r);
    static void Throw_IfInvalid_datetime(const wchar_t* name, const CDateTime& value,
                                         const Restrictions& r);
    static void Throw_IfInvalid_time(const wchar_t* name, const CDateTime& value,
                                     const Restrictions& r);
    static void Throw_IfInvalid_yearMonth(const wchar_t* name, const CDateTime& value,
                                          const Restrictions& r);
    static void Throw_IfInvalid_monthDay(const wchar_t* name, const CDateTime& value,
                                         const Restrictions& r);
    static void Throw_IfInvalid_duration(const wchar_t* name, const CDateTimeSpan& value,
                                         const Restrictions& r);
    // Bounds, then totalDigits (integer-part digits plus fraction digits of
    // the absolute value), then fractionDigits; "[%s]." with ToString().
    static void Throw_IfInvalid_decimal(const wchar_t* name, const CDecimal& value,
                                        const Restrictions& r);
    // Bounds, then totalDigits on the lexical form (the sign counts).
    static void Throw_IfInvalid_integer(const wchar_t* name, const CBigInteger& value,
                                        const Restrictions& r);
    // minLength, maxLength and length on the byte count; the message shows
    // the value as hex or base64 text.
    static void Throw_IfInvalid_hexBinary(const wchar_t* name, const CBinaryData& value,
                                          const Restrictions& r);
    static void Throw_IfInvalid_base64Binary(const wchar_t* name, const CBinaryData& value,
                                             const Restrictions& r);
    // A boolean has no facet its value could break; the check accepts every
    // value and exists so that every kind has one.
    static void Throw_IfInvalid_boolean(const wchar_t* name, bool value, const Restrictions& r);
    // minLength, maxLength and length on the character count, then the
    // pattern, which must match the whole value (XML Schema syntax):
    // "Invalid Value for %s [%s].". A pattern that cannot be used (not valid
    // XML Schema syntax, matching given up, a value holding a lone
    // surrogate) throws "<reason>\nInvalid Value for %s [%s].". An empty
    // pattern is not checked.
    static void Throw_IfInvalid_string(const wchar_t* name, const std::wstring& value,
                                       const Restrictions& r);
    // A character is checked as the one-character string.
    static void Throw_IfInvalid_char(const wchar_t* name, wchar_t value, const Restrictions& r);

    // Throws CVxInvalidParamException "The Property [%s] is mandatory, it may
    // node be NULL" when value is null.
    static void Throw_IfPropertyIsNull(CXmlObjectBase* value, const wchar_t* propertyName);
    // Throws CVxInvalidParamException when value is not null and the element
    // name of its base differs from name.
    static void Throw_IfElementNameDiffers(CXmlObjectBase* value, const wchar_t* name);

    // Whether namespace ns satisfies a wildcard's namespace constraint.
    // restriction is "##any", "##other" (any namespace but targetNamespace;
    // unqualified names count as "other" when targetNamespace is not empty,
    // so that untyped content written without a namespace reads back),
    // "##local" (no namespace), "##targetNamespace", or a whitespace-separated
    // list of URIs and of the keywords, satisfied when any entry is. An empty
    // list admits nothing. Null arguments are taken as empty strings.
    bool IsNamespaceValid(const wchar_t* ns, const wchar_t* restriction,
                          const wchar_t* targetNamespace) const;
    // Throws CVxInvalidNamespaceException "The namespace %s in the class %s is
    // invalid against restriction %s" (namespace, this object's element name,
    // restriction) where IsNamespaceValid answers false.
    void TestNamespace(const wchar_t* ns, const wchar_t* restriction,
                       const wchar_t* targetNamespace) const;

    // Whether element is the element called name in namespaceUri: the local
    // name must match exactly; the namespace too, unless the context reads
    // namespace-blind. False for a null element.
    bool DoesElementNameMatch(const CSerializationContext& context, const CXmlElement* element,
                              const wchar_t* name, const wchar_t* namespaceUri) const;

    // Send one collection message to sink (nothing happens when it is null).
    // collection is the collection that changed; the data of each message is
    // described with IEventSink::MsgType.
    static void FireOnCollectionChangeEvent(IEventSink* sink, CXmlObjectBase* collection);
    static void FireOnCollectionAddEvent(IEventSink* sink, CXmlObjectBase* collection, void* item);
    static void FireOnCollectionAddCompleteEvent(IEventSink* sink, CXmlObjectBase* collection,
                                                 void* item);
    static void FireOnCollectionRemoveEvent(IEventSink* sink, CXmlObjectBase* collection,
                                            int index);
    static void FireOnCollectionRemoveCompleteEvent(IEventSink* sink, CXmlObjectBase* collection,
                                                    int index);

    // The choice helpers keep, in a string owned by the generated object, the
    // name of the one member of a choice that is currently set (empty when
    // none is).
    //
    // A class member was set to value: it becomes the selected member unless
    // another member already is, which throws CVxInvalidStateException when
    // value is not null. Setting the selected member to null clears the
    // selection; setting an unselected member to null changes nothing.
    static void Choice_SelectElement(const wchar_t* name, CXmlObjectBase* value,
                                     std::wstring& selected);
    // A primitive member became valid (set) or invalid (unset). Valid selects
    // name, or throws CVxInvalidStateException when another member is
    // selected; invalid clears the selection, whichever member it named.
    static void Choice_SetElementValid(bool valid, const wchar_t* name, std::wstring& selected);
    // A collection member now holds count items. With another member selected
    // any count but 0 throws CVxInvalidStateException; with none selected a
    // positive count selects name; with name selected a count of 0 clears it.
    static void Choice_CollectionChanged(const wchar_t* name, int32_t count,
                                         std::wstring& selected);

private:
    std::wstring m_strElementName;
    std::atomic<int32_t> m_lRefCount{0};
};

} // namespace VxXmlLib16
