// Command-line options of the vxxml tool.
#pragma once

#include <string>
#include <vector>
#include <vxxml/XmlEncoding.h>

namespace vxxml_tool {

struct ConvertOptions
{
    std::string input;
    std::string output;
    bool pretty = true;
    bool header = true;
    VxXmlLib16::XmlEncoding encoding = VxXmlLib16::XmlEncoding_UTF8;
    VxXmlLib16::EOLType eol = VxXmlLib16::EOL_LF;
    VxXmlLib16::CompressionType compression = VxXmlLib16::Compression_None;
};

// Parses the arguments after "convert". Throws std::invalid_argument with a
// message for the user on anything it does not understand.
ConvertOptions ParseConvertOptions(const std::vector<std::string>& args);

// The usage text printed for -h and on errors.
const char* Usage();

} // namespace vxxml_tool
