# What makes a fault in a program hard to use, and costs nothing measurable; and what keeps the programs small.
#
# jov_hardening(TARGET) gives the flags to an interface target, which hands them to all that link it.
function(jov_hardening target)
    target_compile_options(${target} INTERFACE
        -fstack-protector-strong -ffunction-sections -fdata-sections)
    target_link_options(${target} INTERFACE
        -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--gc-sections -Wl,--as-needed)
    # The checked forms of the C library's functions need an optimiser, and the sanitizers have checks of their own.
    if(NOT JOV_SANITIZE AND NOT JOV_FUZZ)
        target_compile_options(${target} INTERFACE $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
    endif()
endfunction()

# Position-independent code alone does not make the linker produce a position-independent program.
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)

# With both, the linker gives the program copies of Qt's own variables, and the daemon waits for ever without a word.
if(CMAKE_INTERPROCEDURAL_OPTIMIZATION OR "${CMAKE_CXX_FLAGS} ${CMAKE_EXE_LINKER_FLAGS}" MATCHES "-flto")
    message(FATAL_ERROR "Qt 5 does not stand link-time optimisation in a position-independent program: build without -flto "
        "(of a Debian package: DEB_BUILD_MAINT_OPTIONS=optimize=-lto)")
endif()

# The daemon shares a small flash and a small memory with the platform. Its time goes by in the kernel and on the bus:
# what -O3 or -O2 add to -Os is size alone.
if(CMAKE_CXX_FLAGS_RELEASE STREQUAL "-O3 -DNDEBUG")
    set(CMAKE_CXX_FLAGS_RELEASE "-Os -DNDEBUG")
endif()
