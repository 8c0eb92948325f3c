# Compiler settings shared by every target of the project, through one interface target.
# Designated initializers leave members at their defaults on purpose, hence no
# missing-field-initializers; null-dereference is left out for its false alarms inside
# libstdc++ and GoogleTest at -O2, restrict for GCC 12's false alarm on string concatenation at
# -O3 (GCC bug 105651).
add_library(tarnvik_options INTERFACE)
target_compile_options(tarnvik_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
  -Woverloaded-virtual -Wconversion -Wsign-conversion -Wdouble-promotion -Wformat=2
  -Wimplicit-fallthrough -Wno-missing-field-initializers -Wno-restrict)
# Qt's signals/slots/emit keywords clash with ordinary names; the Q_ macros stay.
target_compile_definitions(tarnvik_options INTERFACE QT_NO_KEYWORDS)
if(TARNVIK_WERROR)
  target_compile_options(tarnvik_options INTERFACE -Werror)
endif()
if(TARNVIK_SANITIZE)
  target_compile_options(tarnvik_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tarnvik_options INTERFACE -fsanitize=address,undefined)
endif()

# Every static library of a subsystem is made with this, so that all share the settings.
function(tarnvik_library name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PUBLIC tarnvik_options)
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
endfunction()
