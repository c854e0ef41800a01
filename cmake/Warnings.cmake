# What every target is compiled with: warnings are errors, and the sanitizers where asked for.
add_library(lw_warnings INTERFACE)
target_compile_options(lw_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 reports overlapping copies inside std::basic_string that cannot happen, and at -O3 that a
  # std::variant moves a text that it does not hold.
  target_compile_options(lw_warnings INTERFACE
    -Wno-restrict $<$<CONFIG:Release>:-Wno-maybe-uninitialized>)
endif()
if(LEDGERWICK_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(LEDGERWICK_SANITIZE)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC's analysis of uninitialised values is known to err on instrumented code.
    target_compile_options(lw_warnings INTERFACE -Wno-maybe-uninitialized)
  endif()
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  add_compile_definitions(LEDGERWICK_SANITIZE)
endif()
