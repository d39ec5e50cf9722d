if(VARNOLET_SANITIZE)
  add_compile_options(-fsanitize=${VARNOLET_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VARNOLET_SANITIZE})
endif()
