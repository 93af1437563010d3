#include <vxxml/XmlGeneratedClass.h>

namespace VxXmlLib16 {

CVXCriticalSection CXmlGeneratedClass::m_csInit;

CXmlGeneratedClass::CXmlGeneratedClass() = default;

CXmlGeneratedClass::CXmlGeneratedClass(const wchar_t* elementName) : CXmlObjectBase(elementName) {}

CXmlGeneratedClass::~CXmlGeneratedClass() = default;

void CXmlGeneratedClass::ReadProperty(int index, VxVariant& value) const
{
    const_cast<CXmlGeneratedClass*>(this)->AccessProperty(index, true, value);
}

int CXmlGeneratedClass::GetClassElementInfoCount() const
{
    VxXmlLib16Data::CElementInfo** entries = GetClassElementInfo();
    int count = 0;
    while (entries && entries[count]) {
        ++count;
    }
    return count;
}

} // namespace VxXmlLib16
