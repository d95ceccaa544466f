# Debian packages: libreadkit1, libreadkit-dev, readkit-tools and python3-readkit, one for each
# component of cmake/install.cmake. Made by `make packages`, which configures for /usr.

set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)
set(runtime_package libreadkit${PROJECT_VERSION_MAJOR})
set(development_package libreadkit-dev)
set(tools_package readkit-tools)
set(python_package python3-readkit)
set(components runtime development tools python)

# What Debian wants of every package beside its files: compressed changelogs, and who may copy it.
set(documents ${PROJECT_BINARY_DIR}/documents)
add_custom_command(OUTPUT ${documents}/changelog.gz ${documents}/changelog.Debian.gz
  COMMAND ${CMAKE_COMMAND} -E make_directory ${documents}
  COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/CHANGELOG.md >${documents}/changelog.gz
  COMMAND gzip -9nc ${debian}/changelog >${documents}/changelog.Debian.gz
  DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${debian}/changelog)
add_custom_target(readkit_documents ALL DEPENDS ${documents}/changelog.gz)
foreach(component IN LISTS components)
  install(FILES ${documents}/changelog.gz ${documents}/changelog.Debian.gz ${debian}/copyright
    DESTINATION share/doc/${${component}_package} COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME readkit)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/deb)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "the readkit developers <developers@readkit.example>")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# Each component has a first line of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")

set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${debian}/runtime/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
"libraries for genomic sequence-alignment files
Sorts, converts, indexes, queries and reads SAM and BAM files, and hands the
results to a numeric host as arrays.

This package has the library in two flavours (one compresses to exactly the
bytes of zlib, the other one faster) and a host to load it with.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${runtime_package} ${same_version}, libdeflate-dev, zlib1g-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"headers and C++ classes for genomic sequence-alignment files
Sorts, converts, indexes, queries and reads SAM and BAM files, and hands the
results to a numeric host as arrays.

This package has the headers for hosts and their programs, the C++ classes for
BGZF, BAM, BAI and SAM files as a static library, and the files of CMake and
pkg-config.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${tools_package})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime_package} ${same_version}")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
"program for genomic sequence-alignment files
Sorts, indexes, queries, converts and checks SAM and BAM files, and reports on
the qualities of their reads and of those of FASTQ files.

This package has the program readkit, its manual pages and its completions for
bash, zsh and fish.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME ${python_package})
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${debian}/python3/postinst ${debian}/python3/prerm)
if(TARGET readkit_python)
  string(REPLACE "." ";" parts ${READKIT_PYTHON_VERSION})
  list(GET parts 0 major)
  list(GET parts 1 minor)
  math(EXPR next_minor "${minor} + 1")
  string(CONCAT CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${runtime_package} ${same_version}, "
    "python3 (>= ${READKIT_PYTHON_VERSION}), python3 (<< ${major}.${next_minor}), python3-numpy")
else()
  message(FATAL_ERROR "packages want the Python package, too")
endif()
set(CPACK_COMPONENT_PYTHON_DESCRIPTION
"Python module for genomic sequence-alignment files
Reads, queries, sorts, converts and checks SAM and BAM files as objects, with
their records as NumPy arrays.")

include(CPack)
