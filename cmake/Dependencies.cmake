# Run-time dependencies, all from the Debian archive (see scripts/setup.sh).
find_package(PkgConfig REQUIRED)
find_package(ZLIB REQUIRED)
find_package(EXPAT REQUIRED)
# wchar_t holds UTF-32 on Linux, so the 32-bit code-unit flavour of PCRE2
# matches our strings without conversion.
pkg_check_modules(PCRE2 REQUIRED IMPORTED_TARGET libpcre2-32)
find_package(Threads REQUIRED)
