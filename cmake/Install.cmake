# What is installed, and where.

include(GNUInstallDirs)
set(SKEINKEEP_ZSH_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING "Folder of zsh's completions")

# compress FILE AS: adds a compressed copy to the build.
function(compress file as)
  set(packed ${PROJECT_BINARY_DIR}/${as})
  add_custom_command(OUTPUT ${packed} DEPENDS ${PROJECT_SOURCE_DIR}/${file}
    COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/${file} >${packed})
  add_custom_target(skeinKeep-${as} ALL DEPENDS ${packed})
endfunction()
compress(docs/skeinKeep.1 skeinKeep.1.gz)
compress(cmake/changelog changelog.gz)

set(documents ${CMAKE_INSTALL_DATADIR}/doc/skeinkeep)

# install_page FILE FOLDER: installs a page as it reads there: the samples are the folder "examples" beside the README, and
# the README lacks what only a clone can do.
function(install_page file folder)
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${file})
  file(READ ${PROJECT_SOURCE_DIR}/${file} text)
  string(REPLACE "samples" "examples" text "${text}")
  string(REGEX REPLACE "In a clone, build it first[^\n]*\n\n[^\n]*\n\n" "" text "${text}")
  string(REGEX REPLACE "\n## Install\n.*" "" text "${text}")
  set(page ${PROJECT_BINARY_DIR}/pages/${file})
  file(WRITE ${page} "${text}")
  install(FILES ${page} DESTINATION ${folder})
endfunction()

install(TARGETS skeinKeep)
install(FILES ${PROJECT_BINARY_DIR}/skeinKeep.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES tools/completion/skeinKeep.bash RENAME skeinKeep
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES tools/completion/_skeinKeep DESTINATION ${SKEINKEEP_ZSH_DIR})
install_page(README.md ${documents})
foreach(page recipes backup-file metabase-file reliability performance)
  install_page(docs/${page}.md ${documents}/docs)
endforeach()
install(FILES docs/backup.rng DESTINATION ${documents}/docs)
install(FILES ${PROJECT_BINARY_DIR}/changelog.gz CHANGELOG.md DESTINATION ${documents})
install(FILES LICENSE RENAME copyright DESTINATION ${documents})
install(FILES samples/metabase.txt DESTINATION ${documents}/examples)
install(PROGRAMS samples/graft-object DESTINATION ${documents}/examples)
install(DIRECTORY samples/nightly DESTINATION ${documents}/examples USE_SOURCE_PERMISSIONS)
