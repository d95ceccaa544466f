# Everything comes from the distribution's packages; scripts/install-dependencies lists them.
find_package(ZLIB REQUIRED)
find_package(Threads REQUIRED)
find_path(LIBDEFLATE_INCLUDE_DIR libdeflate.h REQUIRED)
find_library(LIBDEFLATE_LIBRARY deflate REQUIRED)
find_path(HWY_INCLUDE_DIR hwy/highway.h REQUIRED)
find_path(UTFCPP_INCLUDE_DIR utf8.h PATH_SUFFIXES utf8cpp REQUIRED)

add_library(libdeflate INTERFACE)
target_include_directories(libdeflate SYSTEM INTERFACE ${LIBDEFLATE_INCLUDE_DIR})
target_link_libraries(libdeflate INTERFACE ${LIBDEFLATE_LIBRARY})

# Its headers only.
add_library(hwy INTERFACE)
target_include_directories(hwy SYSTEM INTERFACE ${HWY_INCLUDE_DIR})

add_library(utfcpp INTERFACE)
target_include_directories(utfcpp SYSTEM INTERFACE ${UTFCPP_INCLUDE_DIR})
