# What is installed of the simulator, the component sim: the program, its manual and completion, example documents,
# schemas.
install(TARGETS kestrix-sim RUNTIME COMPONENT sim)
find_program(GZIP_PROGRAM gzip REQUIRED)
add_custom_command(OUTPUT kestrix-sim.1.gz DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/sim/kestrix-sim.1
                   COMMAND ${GZIP_PROGRAM} -9nc ${CMAKE_CURRENT_SOURCE_DIR}/sim/kestrix-sim.1 > kestrix-sim.1.gz VERBATIM)
add_custom_target(manual ALL DEPENDS kestrix-sim.1.gz)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kestrix-sim.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT sim)
install(FILES sim/kestrix-sim.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME kestrix-sim
        COMPONENT sim)
file(GLOB documents CONFIGURE_DEPENDS examples/*.json)
install(FILES ${documents} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kestrix-sim/examples COMPONENT sim)
install(DIRECTORY schemas DESTINATION ${CMAKE_INSTALL_DATADIR}/kestrix-sim COMPONENT sim)
install(DIRECTORY examples/quick-start DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kestrix-sim/examples COMPONENT sim)
