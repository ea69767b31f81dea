# What every target of the project is compiled with, and how a folder becomes a library.

add_library(kvex_options INTERFACE)
# Contraction off: a fused multiply-add rounds differently, and results must be the same on every machine.
# g++ 12 warns of overlapping copies in plain string concatenations that it has inlined (-Wrestrict), where there are none.
target_compile_options(kvex_options INTERFACE -ffp-contract=off -Wall -Wextra -Wno-missing-field-initializers -Wnon-virtual-dtor
                                               $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local -Wno-restrict>)
target_include_directories(kvex_options INTERFACE ${PROJECT_SOURCE_DIR}/include)
if(KVEX_SANITIZERS)
  target_compile_options(kvex_options INTERFACE -fsanitize=${KVEX_SANITIZERS} -fno-sanitize-recover=all
                                                -fno-omit-frame-pointer)
  target_link_options(kvex_options INTERFACE -fsanitize=${KVEX_SANITIZERS})
else()
  # Files come from anywhere: a mistake that one of them finds must not become a way in.
  target_compile_options(kvex_options INTERFACE -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  target_link_options(kvex_options INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
endif()

# kvex_folder(NAME [DEPENDS target...]): the static library kvex_NAME of all sources in this folder.
# Its headers are seen by whoever links it, and it sees no other headers than those of what it links.
function(kvex_folder name)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp)
  if(NOT sources)
    add_library(kvex_${name} INTERFACE)
    target_link_libraries(kvex_${name} INTERFACE ${ARG_DEPENDS})
    return()
  endif()
  add_library(kvex_${name} STATIC ${sources})
  target_include_directories(kvex_${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(kvex_${name} PUBLIC kvex_options ${ARG_DEPENDS})
endfunction()
