# What a build for Windows adds, by whatever compiler.

# Windows 7 is the oldest system that the host supports.
add_compile_definitions(_WIN32_WINNT=0x0601)
if(MINGW)
    include(KyrMinGW)
endif()
