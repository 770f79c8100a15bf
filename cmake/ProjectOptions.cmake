# What every target of this project is compiled with, as a target of its own: nothing global is changed.

option(MSG_CONSUMER_WERROR "Treat warnings as errors" ON)
set(MSG_CONSUMER_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")

add_library(msg-consumer-options INTERFACE)
target_compile_features(msg-consumer-options INTERFACE c_std_11 cxx_std_20)
target_compile_options(msg-consumer-options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wformat=2 -Wno-format-nonliteral -Wundef
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -Wno-gnu-zero-variadic-macro-arguments>
  $<$<BOOL:${MSG_CONSUMER_WERROR}>:-Werror>)
if(MSG_CONSUMER_SANITIZE)
  target_compile_options(msg-consumer-options INTERFACE
    -fsanitize=${MSG_CONSUMER_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(msg-consumer-options INTERFACE -fsanitize=${MSG_CONSUMER_SANITIZE})
endif()

# Everything that goes into a shared library: hidden unless a public header says otherwise.
function(msg_consumer_hide_symbols target)
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    C_VISIBILITY_PRESET hidden
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# A shared library whose exports are limited by `version_script`.
function(msg_consumer_shared_library target version_script)
  msg_consumer_hide_symbols(${target})
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${version_script})
  target_link_options(${target} PRIVATE
    -Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/${version_script}
    -Wl,--no-undefined-version -Wl,-z,now)
  if(NOT MSG_CONSUMER_SANITIZE)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()
