#include <utility>
#include <vxxml/Exceptions.h>

namespace VxXmlLib16 {

CVxException::CVxException() = default;

CVxException::CVxException(std::wstring message) : m_message(std::move(message)) {}

CVxException::CVxException(std::wstring message, std::wstring path) : m_message(std::move(message))
{
    if (!path.empty()) {
        m_message += L"\nPath: ";
        m_message += path;
        m_path = std::move(path);
    }
}

CVxException::CVxException(std::wstring message, const CVxException& inner)
    : m_message(std::move(message)), m_inner(inner.Clone())
{
}

CVxException::CVxException(std::wstring message, std::wstring path, const CVxException& inner)
    : CVxException(std::move(message), std::move(path))
{
    m_inner = inner.Clone();
}

CVxException::CVxException(const CVxException& other)
    : m_message(other.m_message), m_path(other.m_path), m_inner(CloneOf(other.m_inner))
{
}

CVxException::CVxException(CVxException&& other) noexcept
    : m_message(std::move(other.m_message)), m_path(std::move(other.m_path)),
      m_inner(std::exchange(other.m_inner, nullptr))
{
}

CVxException::~CVxException()
{
    delete m_inner;
}

CVxException& CVxException::operator=(const CVxException& other)
{
    if (this != &other) {
        m_message = other.m_message;
        // The former inner exception is released rather than leaked; the
        // path is deliberately left as it was.
        CVxException* inner = CloneOf(other.m_inner);
        delete m_inner;
        m_inner = inner;
    }
    return *this;
}

std::wstring CVxException::GetFullMessage() const
{
    std::wstring full = m_message;
    for (const CVxException* e = m_inner; e != nullptr; e = e->m_inner) {
        full += L'\n';
        full += e->m_message;
    }
    return full;
}

CVxException* CVxException::Clone() const
{
    return new CVxException(*this);
}

// --- CVxValidationException ----------------------------------------------

CVxValidationException::CVxValidationException(std::wstring message, std::wstring path)
    : CVxException(std::move(message), std::move(path))
{
}

CVxValidationException::CVxValidationException(std::wstring message, std::wstring path,
                                               const CVxException& inner)
    : CVxException(std::move(message), std::move(path), inner)
{
}

CVxValidationException::CVxValidationException(const CVxException& other) : CVxException(other) {}

CVxValidationException::~CVxValidationException() = default;

CVxException* CVxValidationException::Clone() const
{
    return new CVxValidationException(*this);
}

// --- CVxInvalidNamespaceException -----------------------------------------

CVxInvalidNamespaceException::CVxInvalidNamespaceException(std::wstring message, std::wstring path)
    : CVxValidationException(std::move(message), std::move(path))
{
}

CVxInvalidNamespaceException::CVxInvalidNamespaceException(std::wstring message, std::wstring path,
                                                           const CVxException& inner)
    : CVxValidationException(std::move(message), std::move(path), inner)
{
}

CVxInvalidNamespaceException::CVxInvalidNamespaceException(const CVxException& other)
    : CVxValidationException(other)
{
}

CVxInvalidNamespaceException::~CVxInvalidNamespaceException() = default;

CVxException* CVxInvalidNamespaceException::Clone() const
{
    return new CVxInvalidNamespaceException(*this);
}

// --- exceptions that carry no path of their own ---------------------------

#define VXXML_DEFINE_VALUE_EXCEPTION(Name, Base)                                                   \
    Name::Name(std::wstring message) : Base(std::move(message), std::wstring()) {}                 \
    Name::Name(std::wstring message, const CVxException& inner)                                    \
        : Base(std::move(message), std::wstring(), inner)                                          \
    {                                                                                              \
    }                                                                                              \
    Name::Name(const CVxException& other) : Base(other) {}                                         \
    Name::~Name() = default;                                                                       \
    CVxException* Name::Clone() const                                                              \
    {                                                                                              \
        return new Name(*this);                                                                    \
    }

VXXML_DEFINE_VALUE_EXCEPTION(CVxInvalidValueException, CVxValidationException)
VXXML_DEFINE_VALUE_EXCEPTION(CVxInvalidStateException, CVxException)
VXXML_DEFINE_VALUE_EXCEPTION(CVxInvalidParamException, CVxException)
VXXML_DEFINE_VALUE_EXCEPTION(CVxOverFlowException, CVxException)

} // namespace VxXmlLib16
