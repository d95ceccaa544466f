# readkit_shared_library(TARGET NAME): the file name and the version of a library that is installed,
# and its exported symbols: those of exports.map beside its CMakeLists.txt.
function(readkit_shared_library target name)
  set(exports ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${name}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS ${exports}
  )
  target_link_options(${target} PRIVATE LINKER:--version-script=${exports})
endfunction()
