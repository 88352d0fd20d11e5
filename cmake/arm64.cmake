# 64-bit ARM, with Debian's cross compiler; Qt as in armhf.cmake.
set(triplet aarch64-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/DebianCross.cmake)
