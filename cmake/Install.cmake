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

install(TARGETS skeinKeep)
install(FILES ${PROJECT_BINARY_DIR}/skeinKeep.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES tools/completion/skeinKeep.bash RENAME skeinKeep
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES tools/completion/_skeinKeep DESTINATION ${SKEINKEEP_ZSH_DIR})
# The pages and what they name have the same places as in the sources, so that they are right in both.
install(FILES README.md CHANGELOG.md ${PROJECT_BINARY_DIR}/changelog.gz DESTINATION ${documents})
install(FILES docs/recipes.md docs/backup-file.md docs/metabase-file.md docs/reliability.md docs/performance.md
  docs/backup.rng DESTINATION ${documents}/docs)
install(DIRECTORY samples DESTINATION ${documents} USE_SOURCE_PERMISSIONS)
install(FILES LICENSE RENAME copyright DESTINATION ${documents})
