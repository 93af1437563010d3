// Shared test helpers.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>
#include <vxxml/BinaryData.h>
#include <vxxml/Exceptions.h>

// Checks that a statement throws exactly the given exception type and that
// its GetMessage() equals the expected text; vxxml's messages are part of its
// interface, so the type alone is not enough.
#define EXPECT_THROW_MSG(statement, ExceptionType, expected)                                       \
    do {                                                                                           \
        try {                                                                                      \
            statement;                                                                             \
            ADD_FAILURE() << "expected " #ExceptionType " from: " #statement;                      \
        } catch (const ExceptionType& e_) {                                                        \
            EXPECT_EQ(typeid(e_), typeid(ExceptionType)) << "wrong dynamic type";                  \
            EXPECT_EQ(e_.GetMessage(), std::wstring(expected));                                    \
        } catch (...) {                                                                            \
            ADD_FAILURE() << "unexpected exception type from: " #statement;                        \
        }                                                                                          \
    } while (0)

// Prints wide strings readably in gtest failure output.
inline std::string Narrow(const std::wstring& s)
{
    std::string out;
    for (wchar_t c : s) {
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else {
            char buf[16];
            std::snprintf(buf, sizeof buf, "\\u{%X}", static_cast<unsigned>(c));
            out += buf;
        }
    }
    return out;
}

inline std::wstring Wide(const std::string& s)
{
    return std::wstring(s.begin(), s.end());
}

using Bytes = std::vector<unsigned char>;

inline Bytes ToBytes(const VxXmlLib16::CBinaryData& d)
{
    return d.GetLength() ? Bytes(d.GetData(), d.GetData() + d.GetLength()) : Bytes{};
}

inline VxXmlLib16::CBinaryData FromBytes(const Bytes& b)
{
    return VxXmlLib16::CBinaryData(b.data(), static_cast<uint32_t>(b.size()));
}

// Runs a shell command and returns what it writes to standard output; the
// wait status goes to *status when asked for.
inline std::string Shell(const std::string& command, int* status = nullptr)
{
    std::string out;
    FILE* pipe = popen(command.c_str(), "r");
    char buffer[65536];
    for (size_t n; pipe && (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
        out.append(buffer, n);
    }
    const int result = pipe ? pclose(pipe) : -1;
    if (status) {
        *status = result;
    }
    return out;
}

// A scratch directory removed with everything in it.
struct TempDir
{
    TempDir()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "vxxml-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("mkdtemp failed");
        }
        path = pattern;
    }
    ~TempDir()
    {
        std::error_code ec;
        std::filesystem::remove_all(path, ec);
    }
    std::string File(const std::string& name) const { return (path / name).string(); }

    std::filesystem::path path;
};
