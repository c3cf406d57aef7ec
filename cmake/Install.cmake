# SPDX-License-Identifier: Apache-2.0
# Where the programs of an installation stand. The places are absolute, as the programs know each
# other by them; DESTDIR puts the whole tree below another directory:
#
#   DESTDIR=/tmp/stage cmake --install build
#
# The target "programs" builds what is installed and nothing else.
add_custom_target(programs)
foreach(PROGRAM fennik owmofc owdeleteinstance owdeletenamespace)
  if(TARGET ${PROGRAM})
    install(TARGETS ${PROGRAM} RUNTIME DESTINATION /opt/tarvo/kov/bin)
    add_dependencies(programs ${PROGRAM})
  endif()
endforeach()
foreach(PROGRAM owcimomd kov-setup)
  if(TARGET ${PROGRAM})
    install(TARGETS ${PROGRAM} RUNTIME DESTINATION /opt/tarvo/kov/sbin)
    add_dependencies(programs ${PROGRAM})
  endif()
endforeach()
install(PROGRAMS packaging/init/tarvo-owcimomd_init DESTINATION /opt/tarvo/kov/sbin)
# A package that runs under systemd puts it where systemd looks; here it is for reference.
install(FILES packaging/systemd/tarvo-owcimomd.service
        DESTINATION /opt/tarvo/kov/share/systemd)
install(FILES packaging/man/owmofc.1 packaging/man/owdeleteinstance.1
              packaging/man/owdeletenamespace.1
        DESTINATION /opt/tarvo/kov/share/man/man1)
install(FILES packaging/man/fennik.8 packaging/man/kov-setup.8
        DESTINATION /opt/tarvo/kov/share/man/man8)
