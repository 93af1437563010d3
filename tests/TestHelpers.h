// Shared test helpers.
#pragma once

#include <gtest/gtest.h>
#include <string>
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
