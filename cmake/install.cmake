# What `cmake --install` puts where, in four components: runtime (the libraries), development (what
# programs are compiled and linked with), tools (the program) and python.
include(CMakePackageConfigHelpers)

# Programs and modules find the host wherever the folders are moved together; in the system's own
# folders it is found anyway (CMAKE_SKIP_INSTALL_RPATH).
function(find_host_from target folder)
  file(RELATIVE_PATH way /prefix/${folder} /prefix/${CMAKE_INSTALL_LIBDIR})
  set_target_properties(${target} PROPERTIES INSTALL_RPATH $ORIGIN/${way})
endfunction()

# ---- runtime --------------------------------------------------------------------------------------

set(interface_folder INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS readkit_exact readkit_fast readkit_host EXPORT readkit
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development ${interface_folder})

# ---- development ----------------------------------------------------------------------------------

include(${PROJECT_SOURCE_DIR}/cmake/public_headers.cmake)
set(headers ${PROJECT_BINARY_DIR}/include)
list(TRANSFORM READKIT_PUBLIC_HEADERS PREPEND ${PROJECT_SOURCE_DIR}/ OUTPUT_VARIABLE header_files)
list(TRANSFORM READKIT_PUBLIC_HEADERS REPLACE "^src/" "" OUTPUT_VARIABLE header_copies)
list(TRANSFORM header_copies PREPEND ${headers}/readkit/)
add_custom_command(OUTPUT ${headers}/stamp
  BYPRODUCTS ${header_copies}
  COMMAND ${CMAKE_COMMAND} -DFROM=${PROJECT_SOURCE_DIR} -DTO=${headers}
          -P ${PROJECT_SOURCE_DIR}/cmake/public_headers.cmake
  COMMAND ${CMAKE_COMMAND} -E touch ${headers}/stamp
  DEPENDS ${header_files} ${PROJECT_SOURCE_DIR}/cmake/public_headers.cmake
  VERBATIM)
add_custom_target(readkit_public_headers ALL DEPENDS ${headers}/stamp)

# For hosts of their own, which need the headers and link no library.
add_library(readkit_interface INTERFACE)
add_dependencies(readkit_interface readkit_public_headers)
target_include_directories(readkit_interface INTERFACE $<BUILD_INTERFACE:${headers}>)
set_target_properties(readkit_interface PROPERTIES EXPORT_NAME headers)
foreach(target host core exact fast)
  set_target_properties(readkit_${target} PROPERTIES EXPORT_NAME ${target})
endforeach()
target_compile_features(readkit_interface INTERFACE cxx_std_20)
target_compile_features(readkit_host INTERFACE cxx_std_20)
target_compile_features(readkit_core INTERFACE cxx_std_20)
target_link_libraries(readkit_core INTERFACE $<INSTALL_INTERFACE:ZLIB::ZLIB>
  $<INSTALL_INTERFACE:readkit::libdeflate>)

install(TARGETS readkit_core readkit_interface EXPORT readkit
  ARCHIVE COMPONENT development ${interface_folder})
install(DIRECTORY ${headers}/readkit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development)

set(templates ${PROJECT_SOURCE_DIR}/cmake/templates)
set(made ${PROJECT_BINARY_DIR}/packages)
set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/readkit)
configure_package_config_file(${templates}/readkitConfig.cmake.in ${made}/readkitConfig.cmake
  INSTALL_DESTINATION ${config_folder} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${made}/readkitConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${made}/readkitConfig.cmake ${made}/readkitConfigVersion.cmake
  DESTINATION ${config_folder} COMPONENT development)
install(EXPORT readkit FILE readkitTargets.cmake NAMESPACE readkit::
  DESTINATION ${config_folder} COMPONENT development)

set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH to_prefix /prefix/${pkgconfig_folder} /prefix)
foreach(name readkit readkit-host readkit-core)
  configure_file(${templates}/${name}.pc.in ${made}/${name}.pc @ONLY)
  install(FILES ${made}/${name}.pc DESTINATION ${pkgconfig_folder} COMPONENT development)
endforeach()

# ---- tools ----------------------------------------------------------------------------------------

find_host_from(readkit_cli ${CMAKE_INSTALL_BINDIR})
install(TARGETS readkit_cli RUNTIME COMPONENT tools)
set(said ${PROJECT_BINARY_DIR}/said)
set(manual ${said}/man)
if(READKIT_PACKAGES)
  # Debian wants them compressed, the same bytes each time.
  set(manual ${PROJECT_BINARY_DIR}/compressed_manual)
  add_custom_command(OUTPUT ${manual}/stamp
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${manual}
    COMMAND ${CMAKE_COMMAND} -E copy_directory ${said}/man ${manual}
    COMMAND find ${manual} -name "*.1" -exec gzip -9n "{}" +
    COMMAND ${CMAKE_COMMAND} -E touch ${manual}/stamp
    DEPENDS ${said}/stamp readkit_said
    VERBATIM)
  add_custom_target(readkit_manual ALL DEPENDS ${manual}/stamp)
endif()
install(DIRECTORY ${manual}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools
  FILES_MATCHING PATTERN *.1*)
set(data ${CMAKE_INSTALL_DATADIR})
install(FILES ${said}/readkit DESTINATION ${data}/bash-completion/completions COMPONENT tools)
install(FILES ${said}/_readkit DESTINATION ${data}/zsh/site-functions COMPONENT tools)
install(FILES ${said}/readkit.fish DESTINATION ${data}/fish/vendor_completions.d COMPONENT tools)
# The program looks for them beside its folder, under this name.
install(FILES ${PROJECT_BINARY_DIR}/share/readkit/report.html
  ${PROJECT_BINARY_DIR}/share/readkit/report-licenses.txt
  DESTINATION share/readkit COMPONENT tools OPTIONAL)

# ---- python ---------------------------------------------------------------------------------------

if(TARGET readkit_python)
  set(module_folder ${READKIT_PYTHON_MODULES}/readkit)
  find_host_from(readkit_python ${module_folder})
  install(TARGETS readkit_python LIBRARY DESTINATION ${module_folder} COMPONENT python)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/readkit/ DESTINATION ${module_folder}
    COMPONENT python FILES_MATCHING PATTERN *.py PATTERN *.pyi PATTERN py.typed)
  configure_file(${templates}/METADATA.in ${made}/METADATA @ONLY)
  install(FILES ${made}/METADATA COMPONENT python
    DESTINATION ${READKIT_PYTHON_MODULES}/readkit-${PROJECT_VERSION}.dist-info)
endif()

if(READKIT_PACKAGES)
  include(cmake/packages.cmake)
endif()
