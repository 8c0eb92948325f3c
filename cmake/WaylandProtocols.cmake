# Client code for Wayland protocols, made from their descriptions at build time by
# wayland-scanner: tarnvik_wayland_protocols(TARGET XML...) makes a static library TARGET that
# carries each protocol's header and code.
find_package(PkgConfig REQUIRED)
pkg_check_modules(WAYLAND_CLIENT REQUIRED IMPORTED_TARGET wayland-client)
pkg_get_variable(WAYLAND_SCANNER wayland-scanner wayland_scanner)

function(tarnvik_wayland_protocols target)
  set(out ${CMAKE_CURRENT_BINARY_DIR}/${target})
  set(sources)
  foreach(xml ${ARGN})
    get_filename_component(protocol ${xml} NAME_WE)
    add_custom_command(
      OUTPUT ${out}/${protocol}-client-protocol.h ${out}/${protocol}-protocol.c
      COMMAND ${CMAKE_COMMAND} -E make_directory ${out}
      COMMAND ${WAYLAND_SCANNER} client-header ${xml} ${out}/${protocol}-client-protocol.h
      COMMAND ${WAYLAND_SCANNER} private-code ${xml} ${out}/${protocol}-protocol.c
      DEPENDS ${xml}
      VERBATIM)
    list(APPEND sources ${out}/${protocol}-client-protocol.h ${out}/${protocol}-protocol.c)
  endforeach()
  add_library(${target} STATIC ${sources})
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE C POSITION_INDEPENDENT_CODE ON)
  target_include_directories(${target} PUBLIC ${out})
  target_link_libraries(${target} PUBLIC PkgConfig::WAYLAND_CLIENT)
endfunction()
