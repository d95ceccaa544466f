# The headers that are installed: the host interface, the host, and the classes for C++. Their
# includes are spelled as users spell them: "core/file.h" becomes "readkit/core/file.h".
#
# Run as a script (cmake -P) with FROM, the root of the sources, and TO, the folder to write to, this
# file makes them; included, it defines READKIT_PUBLIC_HEADERS, names from the root.

# For another host, and for every host.
set(READKIT_PUBLIC_HEADERS
  src/core/errors.h
  src/core/export.h
  src/core/monitor.h
  src/core/ustring.h
  src/gateway/gateways.h
  src/gateway/tx_array.h
  src/gateway/tx_registry.h
)
# The host that is there.
list(APPEND READKIT_PUBLIC_HEADERS
  host/array.h
  host/call.h
  host/catalog.h
  host/error.h
  host/loader.h
  host/monitor.h
  host/registry.h
)
# BGZF, BamHeader, Alignment, BAI, BAM and SAM, and what they are made of.
list(APPEND READKIT_PUBLIC_HEADERS
  src/bam/bai.h
  src/bam/bai_format.h
  src/bam/bam.h
  src/bam/index_file.h
  src/bam/index_reader.h
  src/bam/runs.h
  src/core/aligned_buffer.h
  src/core/bgzf.h
  src/core/bgzf_format.h
  src/core/bytes.h
  src/core/file.h
  src/core/file_stream.h
  src/core/large_memory.h
  src/core/line_copy.h
  src/core/path.h
  src/core/pending_output.h
  src/header/bam_header.h
  src/records/alignment.h
  src/records/bins.h
  src/records/record_format.h
  src/records/reference_map.h
  src/records/tags.h
  src/sam/sam.h
)

if(CMAKE_SCRIPT_MODE_FILE)
  foreach(header IN LISTS READKIT_PUBLIC_HEADERS)
    file(READ ${FROM}/${header} text)
    string(REGEX REPLACE "(\n#include \")" "\\1readkit/" text "${text}")
    string(REGEX REPLACE "^src/" "" name ${header})
    file(WRITE ${TO}/readkit/${name} "${text}")
  endforeach()
endif()
