// The exception family through which vxxml reports every failure.
//
// Exceptions are thrown by value and caught by reference. Each carries a
// message, an optional location path (an XPath-like position in the document)
// and an optional inner exception, owned as a private copy.
#pragma once

#include <string>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

class VXXML_API CVxException
{
public:
    CVxException();
    explicit CVxException(std::wstring message);
    CVxException(std::wstring message, std::wstring path);
    CVxException(std::wstring message, const CVxException& inner);
    CVxException(std::wstring message, std::wstring path, const CVxException& inner);
    CVxException(const CVxException& other);
    CVxException(CVxException&& other) noexcept;
    virtual ~CVxException();

    // Copies the message and a clone of the source's inner exception only;
    // the path stays as it was.
    CVxException& operator=(const CVxException& other);

    // The message, including "\nPath: <path>" when a path was given.
    std::wstring GetMessage() const { return m_message; }
    std::wstring GetPath() const { return m_path; }
    // The cause, or null. The exception keeps ownership.
    const CVxException* GetInnerException() const { return m_inner; }
    // This message followed by each inner message, one per line, outermost first.
    std::wstring GetFullMessage() const;

protected:
    // A heap copy of the most-derived exception.
    virtual CVxException* Clone() const;
    // Lets derived classes clone another family member's inner exception.
    static CVxException* CloneOf(const CVxException* e) { return e ? e->Clone() : nullptr; }

private:
    std::wstring m_message;
    std::wstring m_path;
    CVxException* m_inner = nullptr;
};

// A document or value does not satisfy the schema.
class VXXML_API CVxValidationException : public CVxException
{
public:
    CVxValidationException() = default;
    CVxValidationException(std::wstring message, std::wstring path);
    CVxValidationException(std::wstring message, std::wstring path, const CVxException& inner);
    explicit CVxValidationException(const CVxException& other);
    CVxValidationException(const CVxValidationException& other) = default;
    CVxValidationException(CVxValidationException&& other) noexcept = default;
    ~CVxValidationException() override;
    CVxValidationException& operator=(const CVxValidationException&) = default;

protected:
    CVxException* Clone() const override;

private:
    std::wstring m_reserved; // kept for layout compatibility; never set by the library
};

// Declares an exception class whose constructors only set its type.
#define VXXML_DECLARE_VALUE_EXCEPTION(Name, Base)                                                  \
    class VXXML_API Name : public Base                                                             \
    {                                                                                              \
    public:                                                                                        \
        Name() = default;                                                                          \
        explicit Name(std::wstring message);                                                       \
        Name(std::wstring message, const CVxException& inner);                                     \
        explicit Name(const CVxException& other);                                                  \
        Name(const Name& other) = default;                                                         \
        Name(Name&& other) noexcept = default;                                                     \
        ~Name() override;                                                                          \
        Name& operator=(const Name&) = default;                                                    \
                                                                                                   \
    protected:                                                                                     \
        CVxException* Clone() const override;                                                      \
    };

// A value cannot be converted or breaks a facet.
VXXML_DECLARE_VALUE_EXCEPTION(CVxInvalidValueException, CVxValidationException)
// An operation is not allowed in the object's present state.
VXXML_DECLARE_VALUE_EXCEPTION(CVxInvalidStateException, CVxException)
// A bad argument.
VXXML_DECLARE_VALUE_EXCEPTION(CVxInvalidParamException, CVxException)
// A numeric value too large for the requested type.
VXXML_DECLARE_VALUE_EXCEPTION(CVxOverFlowException, CVxException)

#undef VXXML_DECLARE_VALUE_EXCEPTION

// A wrong or missing namespace.
class VXXML_API CVxInvalidNamespaceException : public CVxValidationException
{
public:
    CVxInvalidNamespaceException() = default;
    CVxInvalidNamespaceException(std::wstring message, std::wstring path);
    CVxInvalidNamespaceException(std::wstring message, std::wstring path,
                                 const CVxException& inner);
    explicit CVxInvalidNamespaceException(const CVxException& other);
    CVxInvalidNamespaceException(const CVxInvalidNamespaceException& other) = default;
    CVxInvalidNamespaceException(CVxInvalidNamespaceException&& other) noexcept = default;
    ~CVxInvalidNamespaceException() override;
    CVxInvalidNamespaceException& operator=(const CVxInvalidNamespaceException&) = default;

protected:
    CVxException* Clone() const override;
};

// Implemented by readers that know where in the input they are, so that the
// code that throws can attach that location to its exception.
class VXXML_API IErrorPathProvider
{
public:
    virtual ~IErrorPathProvider() = default;
    virtual std::wstring GetErrorPath() const = 0;
};

} // namespace VxXmlLib16
