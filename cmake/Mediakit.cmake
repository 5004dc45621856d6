# Compiler settings of both builds and the helpers the source folders use.

set(MK_WARNINGS -Wall -Wextra -Wshadow -Wno-unused-parameter)

if(WIN32)
  # Every processor that runs this DLL today has SSE2; doubles are SSE2 doubles, not x87
  # extended ones, so double-precision steps round the same way as natively.
  # A host may call with a 4-byte aligned stack: realign wherever SSE needs more.
  add_compile_options(-msse2 -mfpmath=sse -mstackrealign)
  add_link_options(-static -static-libgcc -static-libstdc++)
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
  set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
  set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
  add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0501)
elseif(MK_BENCH)
  if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
  endif()
elseif(MK_SANITIZE)
  set(MK_SAN_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_options(${MK_SAN_FLAGS} -O1 -g)
  add_link_options(${MK_SAN_FLAGS})
endif()

# Adds sources to the library core. PORTABLE files build in both builds; WIN32 files only
# in the Windows one; NATIVE files (stand-ins for system calls) only in the native one.
# Files named *_avx2.cpp are compiled for AVX2 (and only they are).
function(mk_sources)
  cmake_parse_arguments(ARG "" "" "PORTABLE;WIN32;NATIVE" ${ARGN})
  set(files ${ARG_PORTABLE})
  if(WIN32)
    list(APPEND files ${ARG_WIN32})
  else()
    list(APPEND files ${ARG_NATIVE})
  endif()
  foreach(f IN LISTS files)
    get_filename_component(abs ${f} ABSOLUTE)
    target_sources(mediakit_core PRIVATE ${abs})
    if(f MATCHES "_avx2\\.cpp$")
      set_source_files_properties(${abs} TARGET_DIRECTORY mediakit_core
                                  PROPERTIES COMPILE_OPTIONS "-mavx2")
    endif()
  endforeach()
endfunction()

# A test executable run as one CTest test. PORTABLE tests build in both builds (natively
# under the sanitizers, and as 32-bit Windows programs under Wine); WIN32 tests only in the
# Windows build.
function(mk_test name)
  cmake_parse_arguments(ARG "" "" "PORTABLE;WIN32;LIBS" ${ARGN})
  set(files ${ARG_PORTABLE})
  if(WIN32)
    list(APPEND files ${ARG_WIN32})
  endif()
  if(NOT files)
    return()
  endif()
  add_executable(${name} ${files})
  target_link_libraries(${name} PRIVATE mk_test_support ${ARG_LIBS} GTest::gtest_main)
  target_compile_options(${name} PRIVATE ${MK_WARNINGS})
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1
           WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
endfunction()
