# 32-bit ARM, hard float, with Debian's cross compiler. Qt comes from JOV_SYSROOT, a folder of Debian's packages of that
# architecture (scripts/run-on-arm makes one), or from the machine itself where they are installed beside its own.
set(triplet arm-linux-gnueabihf)
set(CMAKE_SYSTEM_PROCESSOR arm)
include(${CMAKE_CURRENT_LIST_DIR}/DebianCross.cmake)
