# Building blocks shared by src/, tests/ and bench/.

# Per-level kernel files carry their level in the file name and get their own target flags.
# Nothing compiled with these flags may be shared inline with code of a lower level.
function(kx_apply_level_flags)
  foreach(file IN LISTS ARGN)
    if(file MATCHES "_ssse3\\.cpp$")
      set_source_files_properties(${file} PROPERTIES COMPILE_OPTIONS "-mssse3")
    elseif(file MATCHES "_sse41\\.cpp$")
      set_source_files_properties(${file} PROPERTIES COMPILE_OPTIONS "-msse4.1")
    elseif(file MATCHES "_avx2\\.cpp$")
      set_source_files_properties(${file} PROPERTIES COMPILE_OPTIONS "-mavx2")
    endif()
  endforeach()
endfunction()

# kx_module(<name> <dir> [EXCLUDE files...] [LINK modules...])
# The objects of every .cpp directly in <dir> (the object library <name>_objects), handed on by the
# interface library <name> together with the modules it links: a program or library names the
# module it uses and gets everything below it. Each object comes once however many paths lead to it.
function(kx_module name dir)
  cmake_parse_arguments(ARG "" "" "EXCLUDE;LINK" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${dir}/*.cpp")
  foreach(excluded IN LISTS ARG_EXCLUDE)
    list(FILTER sources EXCLUDE REGEX "/${excluded}$")
  endforeach()
  kx_objects(${name} SOURCES ${sources} LINK ${ARG_LINK})
endfunction()

# kx_objects(<name> SOURCES files... [LINK libraries...]): the object library and its interface.
function(kx_objects name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_library(${name} INTERFACE)
  target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
  if(ARG_SOURCES)
    kx_apply_level_flags(${ARG_SOURCES})
    add_library(${name}_objects OBJECT ${ARG_SOURCES})
    target_include_directories(${name}_objects PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name}_objects PUBLIC ${ARG_LINK})
    target_link_libraries(${name} INTERFACE ${name}_objects $<TARGET_OBJECTS:${name}_objects>)
  endif()
  target_link_libraries(${name} INTERFACE ${ARG_LINK})
endfunction()

# kx_test(<name> SOURCES ... LIBS ... LABELS ...)
# One GoogleTest program per subsystem; on the Windows build it runs under Wine.
function(kx_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  kx_apply_level_flags(${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src
                             ${PROJECT_SOURCE_DIR}/tests)
  target_link_options(${name} PRIVATE ${KX_EXE_LINK_OPTIONS})
  add_test(NAME ${name} COMMAND ${name})
  if(NOT ARG_LABELS)
    set(ARG_LABELS unit)
  endif()
  set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}")
endfunction()
