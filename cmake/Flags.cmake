# How everything of ours is compiled, beyond what the build type says.
include(CheckCXXCompilerFlag)

# Warnings.
add_library(katessel_warnings INTERFACE)
target_compile_options(katessel_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wformat-security -Wconversion -Wsign-conversion
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
  $<$<BOOL:${KATESSEL_WERROR}>:-Werror>)

# The same files from the same sources, wherever they lie. A debugger that is to find the sources needs the whole paths.
add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>")

# Overruns are noticed, addresses cannot be foreseen, and tables of addresses are read-only.
if(KATESSEL_HARDENED AND NOT MINGW)  # where it asks for one library more, and crashes the compiler
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  add_compile_options(-fstack-protector-strong "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  # Known for some processors only.
  foreach(flag fcf-protection fstack-clash-protection)
    check_cxx_compiler_flag(-${flag} KATESSEL_HAS_${flag})
    if(KATESSEL_HAS_${flag})
      add_compile_options(-${flag})
    endif()
  endforeach()
  if(NOT APPLE)
    add_link_options(-Wl,-z,relro,-z,now)
  endif()
endif()
if(MINGW)
  # The system keeps the stack at 16 bytes only, and g++ takes no notice where vectors lie there.
  add_compile_options(-Wa,-muse-unaligned-vector-move)
endif()

# What waits for files, people or libtorch needs no speed of its own, and takes a third less to compile without.
set(KATESSEL_QUICKLY_COMPILED "-Og -DNDEBUG")
