#include "Options.h"

#include <stdexcept>

namespace vxxml_tool {

const char* Usage()
{
    return "usage: vxxml convert [options] IN OUT\n"
           "\n"
           "Reads any XML document (plain, gzip or zlib compressed, UTF-8 or UTF-16)\n"
           "and writes it again. Use - as OUT to write to standard output.\n"
           "\n"
           "options:\n"
           "  --pretty            indent the output (default)\n"
           "  --compact           no indentation or line breaks\n"
           "  --no-declaration    leave out the XML declaration\n"
           "  --encoding=utf-8    (default) or utf-16\n"
           "  --eol=lf            (default) or crlf\n"
           "  --compress=gzip     or zlib; default none\n";
}

ConvertOptions ParseConvertOptions(const std::vector<std::string>& args)
{
    ConvertOptions options;
    std::vector<std::string> files;
    for (const std::string& arg : args) {
        if (arg == "--pretty") {
            options.pretty = true;
        } else if (arg == "--compact") {
            options.pretty = false;
        } else if (arg == "--no-declaration") {
            options.header = false;
        } else if (arg == "--encoding=utf-8" || arg == "--encoding=UTF-8") {
            options.encoding = VxXmlLib16::XmlEncoding_UTF8;
        } else if (arg == "--encoding=utf-16" || arg == "--encoding=UTF-16") {
            options.encoding = VxXmlLib16::XmlEncoding_UTF16;
        } else if (arg == "--eol=lf") {
            options.eol = VxXmlLib16::EOL_LF;
        } else if (arg == "--eol=crlf") {
            options.eol = VxXmlLib16::EOL_CRLF;
        } else if (arg == "--compress=gzip") {
            options.compression = VxXmlLib16::Compression_GZip;
        } else if (arg == "--compress=zlib") {
            options.compression = VxXmlLib16::Compression_ZLib;
        } else if (arg == "--compress=none") {
            options.compression = VxXmlLib16::Compression_None;
        } else if (arg.size() > 1 && arg[0] == '-') {
            throw std::invalid_argument("unknown option " + arg);
        } else {
            files.push_back(arg);
        }
    }
    if (files.size() != 2) {
        throw std::invalid_argument("convert needs an input and an output file");
    }
    options.input = files[0];
    options.output = files[1];
    return options;
}

} // namespace vxxml_tool
