# Compiling the sources of a folder as one, where READKIT_UNITY names it: what they include is most of
# what compiling them costs. Builds without it show that each source includes what it needs.
set(READKIT_UNITY "" CACHE STRING
    "Folders of the project, as cli;report, in each of which the sources of a folder are compiled as one")

# unite_folders(TARGET [SOURCE...]): all sources of the target but these, which are compiled alone.
function(unite_folders target)
  get_filename_component(folder ${CMAKE_CURRENT_SOURCE_DIR} NAME)
  if(NOT folder IN_LIST READKIT_UNITY)
    return()
  endif()
  get_target_property(sources ${target} SOURCES)
  list(REMOVE_ITEM sources ${ARGN})
  foreach(source IN LISTS sources)
    get_filename_component(folder ${source} DIRECTORY)
    get_filename_component(group "${folder}" NAME)
    set_source_files_properties(${source} PROPERTIES UNITY_GROUP "folder_${group}")
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
endfunction()
