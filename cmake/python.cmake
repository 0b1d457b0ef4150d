# The Python side: the extension module, the files that the build generates for kvrpc_tools, and
# what is installed.

# One line for each generated file: the script that writes it, then the file in kvrpc_tools/. A
# script runs as `python SCRIPT SCHEMA OUTPUT`, where SCHEMA is the build's schema.json. It may need
# only the standard library, KVRPC_GENERATOR_MODULES and the files in tools/reference. A generated
# file must be in .gitignore.
set(KVRPC_GENERATORS
  tools/generate_types.py arguments.py
  tools/generate_types.py results.py
  tools/generate_types.py procedures.pyi
  tools/generate_types.py async_procedures.pyi
  tools/generate_reference.py reference.html
)
set(KVRPC_GENERATOR_MODULES schema.py docstrings.py meanings.py templates.py)  # of kvrpc_tools

# kvrpc_find_python(): the interpreter and what a module needs to compile and link for it.
macro(kvrpc_find_python)
  set(Python_FIND_VIRTUALENV FIRST)
  find_package(Python 3.9 COMPONENTS Interpreter Development.Module)
  if(NOT Python_FOUND)
    message(FATAL_ERROR
      "No CPython 3.9 or later with its headers was found. Install them (on Debian, python3-dev), or "
      "name an interpreter that has them with -DPython_EXECUTABLE=/path/to/python. With "
      "-DKVRPC_PYTHON_SIDE=OFF only the C++ libraries and their tests are built.")
  endif()
endmacro()

# kvrpc_module(TARGET [SOURCE...]): the extension module, of src/module and the further sources.
function(kvrpc_module target)
  kvrpc_sources(sources ${PROJECT_SOURCE_DIR}/src/module)
  Python_add_library(${target} MODULE WITH_SOABI ${sources} ${ARGN})
  target_link_libraries(${target} PRIVATE kvrpc_bridge kvrpc_directory kvrpc_flags)
  set_target_properties(${target} PROPERTIES OUTPUT_NAME kvrpc
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
  if(KVRPC_MODULE_SUFFIX)
    set_target_properties(${target} PROPERTIES SUFFIX ${KVRPC_MODULE_SUFFIX})
  endif()
  target_link_options(${target} PRIVATE -Wl,--gc-sections)
  if(NOT KVRPC_SANITIZE)
    target_link_options(${target} PRIVATE -Wl,--exclude-libs,ALL)
  endif()
endfunction()

# kvrpc_refusing_module(): the module over a socket library that does not start, for a test.
function(kvrpc_refusing_module)
  kvrpc_module(kvrpc_refusing ${PROJECT_SOURCE_DIR}/tests/win32/refusing_sockets.cpp)
  set_target_properties(kvrpc_refusing PROPERTIES
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/refusing)
endfunction()

# kvrpc_generated(): the target kvrpc-generated, which writes schema.json and the files of
# KVRPC_GENERATORS below <build>/python, laid out as the tree's python/ is.
function(kvrpc_generated)
  set(directory ${PROJECT_BINARY_DIR}/python/kvrpc_tools)
  set(schema ${directory}/schema.json)
  file(MAKE_DIRECTORY ${directory})
  if(KVRPC_SCHEMA_FILE)
    add_custom_command(OUTPUT ${schema} DEPENDS ${KVRPC_SCHEMA_FILE}
      COMMAND ${CMAKE_COMMAND} -E copy ${KVRPC_SCHEMA_FILE} ${schema})
  else()
    add_custom_command(OUTPUT ${schema} DEPENDS kvrpc-schema COMMAND kvrpc-schema ${schema})
  endif()
  list(TRANSFORM KVRPC_GENERATOR_MODULES PREPEND ${PROJECT_SOURCE_DIR}/python/kvrpc_tools/)
  file(GLOB parts CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/reference/*.*)
  set(outputs ${schema})
  while(KVRPC_GENERATORS)
    list(POP_FRONT KVRPC_GENERATORS script output)
    add_custom_command(OUTPUT ${directory}/${output}
      DEPENDS ${PROJECT_SOURCE_DIR}/${script} ${KVRPC_GENERATOR_MODULES} ${parts} ${schema}
      COMMAND ${Python_EXECUTABLE} ${PROJECT_SOURCE_DIR}/${script} ${schema} ${directory}/${output})
    list(APPEND outputs ${directory}/${output})
  endwhile()
  add_custom_target(kvrpc-generated ALL DEPENDS ${outputs})
endfunction()

# kvrpc_install(): installs the module, kvrpc_tools, the stubs and the manual page as the component
# `python`. A wheel's
# pure Python is the build backend's to copy, so that an editable installation can use it in place.
function(kvrpc_install)
  set(KVRPC_INSTALL_DIR lib/python${Python_VERSION_MAJOR}.${Python_VERSION_MINOR}/site-packages
    CACHE STRING "Where Python finds packages, below the prefix")
  install(TARGETS kvrpc LIBRARY DESTINATION ${KVRPC_INSTALL_DIR} COMPONENT python)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/python/ DESTINATION ${KVRPC_INSTALL_DIR} COMPONENT python)
  if(SKBUILD)
    install(FILES docs/kvrpc.1 DESTINATION ${SKBUILD_DATA_DIR}/share/man/man1 COMPONENT python)
  else()
    install(FILES docs/kvrpc.1 DESTINATION share/man/man1 COMPONENT python)
    install(DIRECTORY python/ DESTINATION ${KVRPC_INSTALL_DIR} COMPONENT python
      FILES_MATCHING PATTERN "*.py" PATTERN "*.pyi" PATTERN "py.typed" PATTERN "*.js"
      PATTERN "*.css"
      PATTERN "__pycache__" EXCLUDE)
  endif()
endfunction()
