// The XML entry points of every bound object: each builds a stream and a
// writer, or a document, and hands over to ToXml_Int / FromXml_Int.
#include <cstring>
#include <vxxml/BinaryData.h>
#include <vxxml/BinaryStream.h>
#include <vxxml/Element.h>
#include <vxxml/Exceptions.h>
#include <vxxml/TextStream.h>
#include <vxxml/VxZip.h>
#include <vxxml/XmlDocument.h>
#include <vxxml/XmlObjectBase.h>
#include <vxxml/XmlTextWriter.h>

namespace VxXmlLib16 {
namespace {

void WriteDocument(const CXmlObjectBase& object, CTextStream& stream, bool header, bool prettyPrint,
                   EOLType eol, const CSerializationContext& context)
{
    CXmlTextWriter writer(&stream);
    writer.SetFormatting(prettyPrint);
    writer.SetIndentChars(context.GetIndentChars().c_str());
    writer.SetEOLType(eol);
    writer.SetWriteDefaultElementValues(context.GetWriteDefaultElementValues());
    writer.StartDocument();
    if (header) {
        writer.WriteXmlDeclaration();
    }
    const std::wstring ns = object.GetTargetNamespace();
    object.ToXml_Int(&writer, true, ns.c_str(), context, false);
    writer.EndDocument();
}

void ReadDocument(CXmlObjectBase& object, CXmlDocument& document,
                  const CSerializationContext& context)
{
    CXmlElement* root = document.GetDocumentElement();
    if (root == nullptr) {
        throw CVxException(L"Invalid or empty XML document");
    }
    object.FromXml_Int(root, root->GetFirstElement(), context, false);
}

} // namespace

std::wstring CXmlObjectBase::ToXml(bool header, bool prettyPrint, EOLType eol,
                                   const CSerializationContext& context) const
{
    // The text is returned as characters, so the declaration names no
    // encoding.
    CTextStream stream(XmlEncoding_UTF16_NoDecl);
    WriteDocument(*this, stream, header, prettyPrint, eol, context);
    return std::wstring(stream.GetText(), stream.GetLength());
}

void CXmlObjectBase::ToXmlFile(const wchar_t* fileName, bool header, bool prettyPrint,
                               XmlEncoding encoding, EOLType eol,
                               const CSerializationContext& context,
                               CompressionType compression) const
{
    if (compression == Compression_ZLib) {
        throw CVxException(L"ZLIB Compression only available for To Stream methods.");
    }
    if (compression == Compression_GZip) {
        const CBinaryData data =
            ToXmlStream(header, prettyPrint, encoding, eol, context, compression);
        // A UTF-16 document gets its byte-order mark in front of the gzip
        // stream, as every UTF-16 file does; loading skips it.
        CFileBinaryStream file(fileName, encoding, data);
        file.WriteToFile();
        return;
    }
    CFileTextStream stream(fileName, encoding);
    WriteDocument(*this, stream, header, prettyPrint, eol, context);
}

CBinaryData CXmlObjectBase::ToXmlStream(bool header, bool prettyPrint, XmlEncoding encoding,
                                        EOLType eol, const CSerializationContext& context,
                                        CompressionType compression) const
{
    CTextStream stream(encoding);
    WriteDocument(*this, stream, header, prettyPrint, eol, context);
    CBinaryData data = stream.ToBytes();
    if (compression != Compression_None) {
        CVxZip().Compress(data, compression);
    }
    return data;
}

void CXmlObjectBase::FromXmlFile(const wchar_t* fileName, const CSerializationContext& context)
{
    CXmlDocument document(context);
    document.Load(fileName);
    ReadDocument(*this, document, context);
}

void CXmlObjectBase::FromXml(const wchar_t* xml, const CSerializationContext& context)
{
    CXmlDocument document(context);
    document.LoadXml(xml);
    ReadDocument(*this, document, context);
}

void CXmlObjectBase::FromXml(const char* xml, const CSerializationContext& context)
{
    CXmlDocument document(context);
    document.LoadXml(xml);
    ReadDocument(*this, document, context);
}

void CXmlObjectBase::FromXmlStream(const CBinaryData& data, const CSerializationContext& context)
{
    FromXmlStream(data.GetData(), data.GetLength(), context);
}

void CXmlObjectBase::FromXmlStream(const unsigned char* data, uint32_t length,
                                   const CSerializationContext& context)
{
    CXmlDocument document(context);
    document.LoadXmlStream(const_cast<unsigned char*>(data), length);
    ReadDocument(*this, document, context);
}

void CXmlObjectBase::FromXmlElement(CElement* element, const CSerializationContext& context)
{
    if (element == nullptr) {
        throw CVxInvalidParamException(L"FromXmlElement needs an element, it was NULL");
    }
    // Untyped content is turned into a document first, so that it is read
    // exactly as text would be.
    FromXml(element->ToXml(false, false, EOL_LF, context).c_str(), context);
}

void CXmlObjectBase::FromXmlElement(CXmlElement* element, const CSerializationContext& context)
{
    if (element == nullptr) {
        throw CVxInvalidParamException(L"FromXmlElement needs an element, it was NULL");
    }
    FromXml_Int(element, element->GetFirstElement(), context, false);
}

} // namespace VxXmlLib16
