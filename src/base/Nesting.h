// How deeply elements may nest. Internal to the library.
#pragma once

namespace VxXmlLib16::detail {

// Reading and writing walk nested elements recursively, one set of stack
// frames per level, so a hostile document (or a deliberately deep object
// chain) would overflow the stack instead of failing with an exception.
// The document tree refuses to grow deeper than this while it is read, and
// the object walks refuse to go deeper. Real documents stay far below the
// limit; it leaves room for the larger frames of sanitizer builds on an
// 8 MiB stack.
constexpr int kMaxNestingDepth = 1000;

// "The elements are nested more than 1000 levels deep; ..."
[[noreturn]] void ThrowNestedTooDeeply();

} // namespace VxXmlLib16::detail
