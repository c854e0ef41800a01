set(CMAKE_SYSTEM_PROCESSOR i686)
set(MINGW_TRIPLET i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
# The exports stand in the .def file without the decoration of the calling convention.
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -Wl,--enable-stdcall-fixup")
