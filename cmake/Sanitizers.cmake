if(VARNOLET_SANITIZE)
  # Line numbers (-g1) are all that a report needs, and build faster than what a debugger wants.
  add_compile_options(-g1 -fsanitize=${VARNOLET_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VARNOLET_SANITIZE})
endif()
