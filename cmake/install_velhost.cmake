# velhost as it is installed: by default in the folders of the system, as the component `velhost`
# flat, with all beside it that its pages speak of, which tools/release packs.
set(flat COMPONENT velhost EXCLUDE_FROM_ALL)
install(TARGETS velhost)
install(TARGETS velhost RUNTIME DESTINATION . ${flat})
install(TARGETS VelPicture LIBRARY DESTINATION . ${file_mode} ${flat})

set(made ${PROJECT_BINARY_DIR}/cli/manual)
install(FILES ${made}/velhost.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${made}/velhost.bash RENAME velhost
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES ${made}/_velhost DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
install(FILES ${made}/velhost.1 ${made}/velhost.bash ${made}/_velhost DESTINATION shell ${flat})

install(FILES docs/velhost.md docs/check.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES docs/archives/velhost.md DESTINATION . RENAME README.md ${flat})
install(FILES LICENSE DESTINATION . ${flat})
install(FILES docs/velhost.md docs/check.md docs/sample.png DESTINATION docs ${flat})
install(FILES docs/example/Leaky.cpp DESTINATION docs/example ${flat})
# Those that the example includes.
install(FILES host/console_flags.h host/entry.h host/export.h host/host_types.h
  DESTINATION include/host ${flat})
