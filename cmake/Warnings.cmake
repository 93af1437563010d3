# Compiler flags shared by every target of the project.
add_library(vxxml_warnings INTERFACE)
target_compile_options(vxxml_warnings INTERFACE -Wall -Wextra -Wpedantic)
if(VXXML_WERROR)
  target_compile_options(vxxml_warnings INTERFACE -Werror)
endif()

if(VXXML_SANITIZE)
  set(_vxxml_san -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_compile_options(${_vxxml_san})
  add_link_options(${_vxxml_san})
endif()

# Fuzzing instruments everything for coverage and checks it with both
# sanitizers; the fuzz targets add libFuzzer's main when they link.
if(VXXML_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "VXXML_FUZZ needs clang: configure with -DCMAKE_CXX_COMPILER=clang++")
  endif()
  set(_vxxml_fuzz -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined
                  -fno-omit-frame-pointer)
  add_compile_options(${_vxxml_fuzz})
  add_link_options(-fsanitize=address,undefined)
endif()
