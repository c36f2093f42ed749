# Toolchain file: 32-bit big-endian PowerPC, with the libraries of third_party/powerpc/build.sh.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc)
set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)

get_filename_component(GPON_THIRD_PARTY ${CMAKE_CURRENT_LIST_DIR}/../third_party ABSOLUTE)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
             ${GPON_THIRD_PARTY}/powerpc/build.sh ${GPON_THIRD_PARTY}/powerpc/flags.sh ${GPON_THIRD_PARTY}/recipe.sh)
execute_process(COMMAND ${GPON_THIRD_PARTY}/powerpc/build.sh --prefix
                OUTPUT_VARIABLE GPON_TARGET_LIBRARIES OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT EXISTS ${GPON_TARGET_LIBRARIES}/.complete)
  message(FATAL_ERROR "The target's libraries aren't built yet: run tools/setup.sh --target (./test --target does)")
endif()
# The libraries have times and file sizes of 64 bits in their interfaces.
execute_process(COMMAND sh -c ". ${GPON_THIRD_PARTY}/powerpc/flags.sh; echo $target_interface"
                OUTPUT_VARIABLE interface OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_C_FLAGS_INIT ${interface})
set(CMAKE_CXX_FLAGS_INIT ${interface})

set(CMAKE_FIND_ROOT_PATH ${GPON_TARGET_LIBRARIES})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
