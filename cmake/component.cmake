# Companion targets: libraries beside the core that carry a heavier dependency (ICU, libcrypto,
# a JSON and HTTP stack). Each lives in src/<name>/ with its headers in include/olma/<name>/,
# builds as libolma-<name>.so, and is exported as the CMake package component <name>, so that
# find_package(olma-core COMPONENTS <name>) gives the target olma::<name> and a user who does
# not ask for it links nothing of its dependency.
#
#   olma_add_component(<name> SOURCES <files...> [LINK <targets...>]
#                      [FIND_DEPENDENCY "<find_dependency arguments>" ...])
#
# FIND_DEPENDENCY lines are replayed by the installed package before the component's targets
# are loaded, so a consumer finds the component's dependencies the way the build did.
function(olma_add_component name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK;FIND_DEPENDENCY")
  set(target olma-${name})
  add_library(${target} SHARED ${arg_SOURCES})
  add_library(olma::${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    EXPORT_NAME ${name})
  target_compile_definitions(${target} PRIVATE OLMA_CORE_BUILDING)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PUBLIC olma::core ${arg_LINK} PRIVATE $<BUILD_INTERFACE:olma_build_flags>)

  install(TARGETS ${target} EXPORT olma-core-${name}-targets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
          RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(EXPORT olma-core-${name}-targets NAMESPACE olma:: DESTINATION ${olma_cmake_dir})

  set(dependencies "include(CMakeFindDependencyMacro)\n")
  foreach(line IN LISTS arg_FIND_DEPENDENCY)
    string(APPEND dependencies "find_dependency(${line})\n")
  endforeach()
  file(WRITE ${PROJECT_BINARY_DIR}/olma-core-${name}-dependencies.cmake "${dependencies}")
  install(FILES ${PROJECT_BINARY_DIR}/olma-core-${name}-dependencies.cmake DESTINATION ${olma_cmake_dir})
endfunction()
