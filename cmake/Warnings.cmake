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
