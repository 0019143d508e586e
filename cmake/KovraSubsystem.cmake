# kovra_subsystem(<name> SOURCES ...) declares one subsystem of the library: an OBJECT library
# named kovra_<name> built from the sources, whose exported symbols are listed one per line in
# <name>/exports.txt. kovra_link_library() then combines every subsystem into
#   kovraimagecodec         the shared object, exporting exactly the listed symbols, and
#   kovraimagecodec_static  the same objects as an archive, for tests that reach internals.

function(kovra_subsystem name)
  cmake_parse_arguments(ARG "" "" "SOURCES" ${ARGN})
  add_library(kovra_${name} OBJECT ${ARG_SOURCES})
  target_include_directories(kovra_${name} PUBLIC "${CMAKE_SOURCE_DIR}/include" PRIVATE "${CMAKE_SOURCE_DIR}")
  target_link_libraries(kovra_${name} PRIVATE kovra_build_flags)
  set_property(GLOBAL APPEND PROPERTY KOVRA_SUBSYSTEMS kovra_${name})
  set(exports "${CMAKE_CURRENT_SOURCE_DIR}/exports.txt")
  if(EXISTS "${exports}")
    set_property(GLOBAL APPEND PROPERTY KOVRA_EXPORT_LISTS "${exports}")
    set_property(DIRECTORY "${CMAKE_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${exports}")
  endif()
endfunction()

# Reads every subsystem's export list into one sorted list of symbol names.
function(kovra_read_exports out_var)
  get_property(lists GLOBAL PROPERTY KOVRA_EXPORT_LISTS)
  set(symbols "")
  foreach(list_file IN LISTS lists)
    file(STRINGS "${list_file}" lines REGEX "^[A-Za-z_]")
    list(APPEND symbols ${lines})
  endforeach()
  list(SORT symbols)
  set(${out_var} "${symbols}" PARENT_SCOPE)
endfunction()

function(kovra_link_library)
  get_property(subsystems GLOBAL PROPERTY KOVRA_SUBSYSTEMS)
  set(objects "")
  foreach(subsystem IN LISTS subsystems)
    list(APPEND objects $<TARGET_OBJECTS:${subsystem}>)
  endforeach()

  kovra_read_exports(symbols)
  set(version_script "${CMAKE_BINARY_DIR}/libkovraimagecodec.map")
  list(JOIN symbols ";\n    " body)
  file(WRITE "${CMAKE_BINARY_DIR}/exports.txt.tmp" "")
  foreach(symbol IN LISTS symbols)
    file(APPEND "${CMAKE_BINARY_DIR}/exports.txt.tmp" "${symbol}\n")
  endforeach()
  file(COPY_FILE "${CMAKE_BINARY_DIR}/exports.txt.tmp" "${CMAKE_BINARY_DIR}/exports.txt" ONLY_IF_DIFFERENT)
  file(CONFIGURE OUTPUT "${version_script}" CONTENT "{\n  global:\n    ${body};\n  local:\n    *;\n};\n")

  add_library(kovraimagecodec SHARED ${objects})
  target_include_directories(kovraimagecodec PUBLIC "$<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include>")
  target_link_libraries(kovraimagecodec PRIVATE kovra_build_flags Threads::Threads)
  target_link_options(kovraimagecodec PRIVATE "-Wl,--version-script=${version_script}")
  if(NOT KOVRA_SANITIZE AND NOT KOVRA_SANITIZE_THREAD AND NOT KOVRA_FUZZ)
    # Sanitizer runtimes are linked into executables only, so this check needs a plain build.
    target_link_options(kovraimagecodec PRIVATE "-Wl,--no-undefined")
  endif()
  set_target_properties(kovraimagecodec PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS "${version_script}")

  add_library(kovraimagecodec_static STATIC ${objects})
  target_include_directories(kovraimagecodec_static PUBLIC "${CMAKE_SOURCE_DIR}/include" "${CMAKE_SOURCE_DIR}")
  target_link_libraries(kovraimagecodec_static PUBLIC Threads::Threads)
endfunction()

find_package(Threads REQUIRED)

# Adds every direct child folder of the current source folder that has a CMakeLists.txt, so a
# new fuzz target or benchmark needs no edit here.
function(kovra_add_child_folders)
  file(GLOB children LIST_DIRECTORIES true "${CMAKE_CURRENT_SOURCE_DIR}/*")
  foreach(dir IN LISTS children)
    if(IS_DIRECTORY "${dir}" AND EXISTS "${dir}/CMakeLists.txt")
      add_subdirectory("${dir}")
    endif()
  endforeach()
endfunction()
