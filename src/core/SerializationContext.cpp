#include <vxxml/Attribute.h>
#include <vxxml/Exceptions.h>
#include <vxxml/SerializationContext.h>

namespace VxXmlLib16 {

CSerializationContext::CSerializationContext() = default;
CSerializationContext::CSerializationContext(const CSerializationContext&) = default;
CSerializationContext& CSerializationContext::operator=(const CSerializationContext&) = default;
CSerializationContext::~CSerializationContext() = default;

CSerializationContext& CSerializationContext::GetDefaultContext()
{
    // A function-local static is built on first use, so other static objects
    // may use the default context while they are initialised.
    static CSerializationContext m_defaultContext;
    return m_defaultContext;
}

void CSerializationContext::SetDefaultNamespaceURI(const wchar_t* uri)
{
    m_strDefaultNamespaceURI = uri ? uri : L"";
}

CSmartPtr<CAttributeCol> CSerializationContext::GetAdditionalRootAttributes() const
{
    if (!m_pAdditionalRootAttributes) {
        m_pAdditionalRootAttributes = new CAttributeCol(L"", L"##any", L"");
    }
    return m_pAdditionalRootAttributes;
}

void CSerializationContext::SetInLineSchema(const wchar_t* schema)
{
    m_strInLineSchema = schema ? schema : L"";
}

void CSerializationContext::SetIgnoreMissingMandatoryElements(bool value)
{
    if (value && m_bIgnoreUnknownElements) {
        throw CVxInvalidStateException(
            L"The parser can only ignore additional elements, or ignore the fact that some "
            L"required ones are missing, you can not ignore both\nSet IgnoreUnknownElements to "
            L"false before setting IgnoreMissingMandatoryElements to true");
    }
    m_bIgnoreMissingMandatoryElements = value;
}

void CSerializationContext::SetIgnoreUnknownElements(bool value)
{
    if (value && m_bIgnoreMissingMandatoryElements) {
        throw CVxInvalidStateException(
            L"The parser can only ignore additional elements, or ignore the fact that some "
            L"required ones are missing, you can not ignore both\nSet "
            L"IgnoreMissingMandatoryElements to false before setting IgnoreUnknownElements to "
            L"true");
    }
    m_bIgnoreUnknownElements = value;
}

bool CSerializationContext::GetIgnoreNamespaces() const
{
    return m_bIgnoreNamespaces || m_schemaType == SchemaType_DTD;
}

void CSerializationContext::SetIndentChars(const wchar_t* chars)
{
    std::wstring value = chars ? chars : L"";
    for (wchar_t c : value) {
        if (c != L' ' && c != L'\t') {
            throw CVxInvalidParamException(
                L"IndentChars can only contain Whitespace characters, i.e. \t or spaces");
        }
    }
    m_strIndentChars = std::move(value);
}

} // namespace VxXmlLib16
