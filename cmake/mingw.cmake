# Debian's MinGW-w64 as a cross compiler. MINGW_TRIPLET names it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_CXX_COMPILER ${MINGW_TRIPLET}-g++)
set(CMAKE_RC_COMPILER ${MINGW_TRIPLET}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# Nothing but the platform's own libraries is needed where the component is installed.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
# GCC 12 takes std::string's own copies for overlapping ones when it optimises for speed.
set(CMAKE_CXX_FLAGS_INIT -Wno-restrict)
