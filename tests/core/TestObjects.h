// Minimal bound objects for the tests of the object base and its pointer.
#pragma once

#include <atomic>
#include <vxxml/SmartPtr.h>
#include <vxxml/XmlObjectBase.h>

namespace VxTest {

// Counts destructions so that tests can see exactly when (and how often) an
// object dies, and opens the protected helpers to the tests.
class CTestObject : public VxXmlLib16::CXmlObjectBase
{
public:
    explicit CTestObject(std::atomic<int>* destroyed = nullptr, const wchar_t* name = L"test")
        : CXmlObjectBase(name), m_destroyed(destroyed)
    {
    }
    CTestObject(const CTestObject&) = default;
    CTestObject& operator=(const CTestObject&) = default;
    ~CTestObject() override
    {
        if (m_destroyed) {
            ++*m_destroyed;
        }
    }

    // A test can make another object stand for this one.
    CXmlObjectBase* GetBase() override { return m_base ? m_base : this; }
    std::wstring GetTargetNamespace() const override { return L"urn:target"; }
    std::wstring GetNamespace() const override { return L"urn:target"; }
    // Writing and reading are not exercised by these tests.
    void AttributesToXml_Int(VxXmlLib16::CXmlWriter*,
                             const VxXmlLib16::CSerializationContext&) const override
    {
    }
    void ToXml_Int(VxXmlLib16::CXmlWriter*, bool, const wchar_t*,
                   const VxXmlLib16::CSerializationContext&, bool) const override
    {
    }
    VxXmlLib16::CXmlElement* FromXml_Int(VxXmlLib16::CXmlElement*,
                                         VxXmlLib16::CXmlElement* firstChild,
                                         const VxXmlLib16::CSerializationContext&, bool) override
    {
        return firstChild;
    }

    using CXmlObjectBase::Choice_CollectionChanged;
    using CXmlObjectBase::Choice_SelectElement;
    using CXmlObjectBase::Choice_SetElementValid;
    using CXmlObjectBase::FireOnCollectionAddCompleteEvent;
    using CXmlObjectBase::FireOnCollectionAddEvent;
    using CXmlObjectBase::FireOnCollectionChangeEvent;
    using CXmlObjectBase::FireOnCollectionRemoveCompleteEvent;
    using CXmlObjectBase::FireOnCollectionRemoveEvent;
    using CXmlObjectBase::IsNamespaceValid;
    using CXmlObjectBase::TestNamespace;
    using CXmlObjectBase::Throw_IfElementNameDiffers;
    using CXmlObjectBase::Throw_IfPropertyIsNull;

    CXmlObjectBase* m_base = nullptr;
    // Lets a test build chains in which one object keeps the next alive.
    VxXmlLib16::CSmartPtr<CTestObject> m_next;

private:
    std::atomic<int>* m_destroyed;
};

} // namespace VxTest
