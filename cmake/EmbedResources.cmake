# syc_embed_resources(<target> <folder>): compiles the texts and pictures of Resources/ into <target>, so that the
# library needs no file beside it.
function(syc_embed_resources target folder)
  set(generated "${CMAKE_CURRENT_BINARY_DIR}/EmbeddedResources.cpp")
  file(GLOB files CONFIGURE_DEPENDS "${folder}/*.xml" "${folder}/Pictures/*.png")
  add_custom_command(
    OUTPUT "${generated}"
    COMMAND "${CMAKE_COMMAND}" "-DFOLDER=${folder}" "-DOUTPUT=${generated}"
            -P "${PROJECT_SOURCE_DIR}/cmake/WriteEmbeddedResources.cmake"
    DEPENDS ${files} "${PROJECT_SOURCE_DIR}/cmake/WriteEmbeddedResources.cmake"
    COMMENT "Embedding Resources/"
    VERBATIM)
  target_sources(${target} PRIVATE "${generated}")
endfunction()
