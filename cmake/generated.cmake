# The files that the build writes for kvrpc_tools: schema.json, and what Python scripts make of it.
# They are built below <build>/python, laid out as the tree's python/ is.

# One line for each generator: the script, then the file that it writes, below kvrpc_tools/. The script
# runs as `python SCRIPT SCHEMA OUTPUT` and may use the standard library only. For example:
#   tools/generate_client.py client/_types.pyi
set(KVRPC_GENERATORS
)

# kvrpc_generated(): the target kvrpc-generated, which builds all of them.
function(kvrpc_generated)
  set(directory ${CMAKE_BINARY_DIR}/python/kvrpc_tools)
  set(schema ${directory}/schema.json)
  file(MAKE_DIRECTORY ${directory})
  if(KVRPC_SCHEMA_FILE)
    add_custom_command(OUTPUT ${schema} DEPENDS ${KVRPC_SCHEMA_FILE}
      COMMAND ${CMAKE_COMMAND} -E copy ${KVRPC_SCHEMA_FILE} ${schema})
  else()
    add_custom_command(OUTPUT ${schema} DEPENDS kvrpc-schema COMMAND kvrpc-schema ${schema})
  endif()
  set(outputs ${schema})
  while(KVRPC_GENERATORS)
    list(POP_FRONT KVRPC_GENERATORS script output)
    add_custom_command(OUTPUT ${directory}/${output}
      DEPENDS ${CMAKE_SOURCE_DIR}/${script} ${schema}
      COMMAND ${KVRPC_PYTHON} ${CMAKE_SOURCE_DIR}/${script} ${schema} ${directory}/${output})
    list(APPEND outputs ${directory}/${output})
  endwhile()
  add_custom_target(kvrpc-generated ALL DEPENDS ${outputs})
endfunction()
