# Compiler, linker and warning settings that every target shares.

# Precompiled headers need these two of ccache, and clang not to look at their times.
find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER
    ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    add_compile_options("SHELL:-Xclang -fno-pch-timestamp")
  else()
    add_compile_options(-fpch-preprocess)
  endif()
endif()

# What almost every source of the plug-in and the framework includes, for target_precompile_headers. Nothing may stand
# there that puts objects into every source: CLI11's are two seconds of compiling each.
set(VORN_COMMON_HEADERS
  <algorithm> <chrono> <functional> <map> <memory> <mutex> <optional> <sstream> <string> <thread> <vector>
  <boost/enable_shared_from_this.hpp> <boost/format.hpp> <boost/function.hpp> <boost/make_shared.hpp>
  <boost/thread/condition_variable.hpp> <boost/thread/thread.hpp> <gst/gst.h>)
set(VORN_JSON_HEADER ${PROJECT_SOURCE_DIR}/refhost/text/json_once.h) # needs vorn_text

# Line numbers are enough for a backtrace, and full debug information costs a third of the build.
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g1 -DNDEBUG")
set(CMAKE_CXX_FLAGS_DEBUG "-g1")

add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wunused
  -Wformat=2 -Wimplicit-fallthrough -Wzero-as-null-pointer-constant)
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_compile_options(-Wduplicated-cond -Wlogical-op)
  if(CMAKE_UNITY_BUILD) # what one source alone uses is in an included file there
    add_compile_options(-Wno-subobject-linkage)
  endif()
endif()
if(VORN_WERROR)
  add_compile_options(-Werror)
endif()

if(VORN_SANITIZE)
  add_compile_options(-fsanitize=${VORN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VORN_SANITIZE})
  find_program(VORN_LLD ld.lld) # links these in a sixth of the time
  if(VORN_LLD AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    add_link_options(-fuse-ld=lld)
  endif()
  # g++ and clang tell it in ways of their own.
  if(VORN_SANITIZE MATCHES thread)
    add_compile_definitions(VORN_UNDER_TSAN)
  else()
    add_compile_definitions(VORN_UNDER_ASAN)
  endif()
  add_library(sanitizer_defaults OBJECT ${CMAKE_CURRENT_LIST_DIR}/sanitizer_defaults.cpp)
  link_libraries($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:$<TARGET_OBJECTS:sanitizer_defaults>>)
else()
  add_link_options(-Wl,--as-needed -Wl,--no-undefined)
  # Against what a device or a neighbour could send; tests/check-binaries looks at what came of it. Fortified
  # functions need optimisation.
  add_compile_options(
    -fstack-protector-strong -fstack-clash-protection -fcf-protection
    $<$<CONFIG:RelWithDebInfo,Release>:-D_FORTIFY_SOURCE=2>)
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()

# The libraries tell the fuzz targets which paths an input took.
if(VORN_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
