# GNOME Shell extensions in the two forms the shells load, each made from one body and one
# metadata template, so that the two never drift: for GNOME 43 and 44 a script with the shell's
# modules under `imports`, for 45 and later an ES module (the entry files in gnome/shell/). Each
# lands in PROJECT_BINARY_DIR/gnome/FORM/UUID, laid out as the shell wants it in a folder of
# extensions.
set(TARNVIK_GNOME_UUID tarnvik-gnome@ostrelline.com)
# The shells each form names: only those whose APIs the tests ran against.
set(TARNVIK_GNOME_SHELLS_43 "\"43\"")
set(TARNVIK_GNOME_SHELLS_45 "\"48\"")

# The form this machine's shell loads; with no shell here, that of the shells current
# distributions ship.
set(default_form 45)
find_program(TARNVIK_GNOME_SHELL gnome-shell)
if(TARNVIK_GNOME_SHELL)
  execute_process(COMMAND ${TARNVIK_GNOME_SHELL} --version OUTPUT_VARIABLE shell_version
    ERROR_QUIET)
  if(shell_version MATCHES "GNOME Shell ([0-9]+)" AND CMAKE_MATCH_1 LESS 45)
    set(default_form 43)
  endif()
endif()
set(TARNVIK_GNOME_FORM ${default_form} CACHE STRING
  "The GNOME Shell extension's form that is installed and tested: 43 (GNOME 43, 44) or 45 (45 and later)")
set_property(CACHE TARNVIK_GNOME_FORM PROPERTY STRINGS 43 45)

# Writes both forms of the extension UUID: the BODY files (JS defining among them the class
# SERVICE, made with the extension's folder while the extension is enabled and destroyed when it
# is disabled), one after the other between each form's imports and entry point, METADATA
# configured with UUID and SHELL_VERSIONS, and the FILES beside them.
function(tarnvik_gnome_extension uuid service metadata)
  cmake_parse_arguments(PARSE_ARGV 3 arg "" "" "BODY;FILES")
  set(bodies ${arg_BODY})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    ${bodies} ${metadata} ${PROJECT_SOURCE_DIR}/gnome/shell/43.js ${PROJECT_SOURCE_DIR}/gnome/shell/45.js)
  set(code "")
  foreach(body ${bodies})
    file(READ ${body} part)
    string(APPEND code "${part}")
  endforeach()
  foreach(form 43 45)
    set(folder ${PROJECT_BINARY_DIR}/gnome/${form}/${uuid})
    file(READ ${PROJECT_SOURCE_DIR}/gnome/shell/${form}.js extension)
    string(REPLACE "// @BODY@\n" "${code}" extension "${extension}")
    string(REPLACE "@SERVICE@" "${service}" extension "${extension}")
    # Written only when it changed, so that nothing that depends on it is redone.
    set(written "")
    if(EXISTS ${folder}/extension.js)
      file(READ ${folder}/extension.js written)
    endif()
    if(NOT written STREQUAL extension)
      file(WRITE ${folder}/extension.js "${extension}")
    endif()
    set(UUID ${uuid})
    set(SHELL_VERSIONS ${TARNVIK_GNOME_SHELLS_${form}})
    configure_file(${metadata} ${folder}/metadata.json @ONLY)
    foreach(file ${arg_FILES})
      configure_file(${file} ${folder} COPYONLY)
    endforeach()
  endforeach()
endfunction()

tarnvik_gnome_extension(${TARNVIK_GNOME_UUID} OverviewService
  ${PROJECT_SOURCE_DIR}/gnome/metadata.json.in
  BODY ${PROJECT_SOURCE_DIR}/gnome/input.js ${PROJECT_SOURCE_DIR}/gnome/keys.js
    ${PROJECT_SOURCE_DIR}/gnome/labels.js ${PROJECT_SOURCE_DIR}/gnome/status.js
    ${PROJECT_SOURCE_DIR}/gnome/overview.js
  FILES ${PROJECT_SOURCE_DIR}/data/icons/hicolor/scalable/apps/tarnvik-symbolic.svg)
set(TARNVIK_GNOME_EXTENSION ${PROJECT_BINARY_DIR}/gnome/${TARNVIK_GNOME_FORM}/${TARNVIK_GNOME_UUID})
