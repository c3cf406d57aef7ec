# SPDX-License-Identifier: Apache-2.0
# Installs the programs. The paths are absolute, because the programs find each other by them;
# DESTDIR puts the whole tree below another directory:
#
#   DESTDIR=/tmp/stage cmake --install build
#
# The target "programs" builds only what is installed.
add_custom_target(programs)
foreach(PROGRAM fennik owmofc owdeleteinstance owdeletenamespace owshow)
  if(TARGET ${PROGRAM})
    install(TARGETS ${PROGRAM} RUNTIME DESTINATION /opt/tarvo/kov/bin)
    add_dependencies(programs ${PROGRAM})
  endif()
endforeach()
foreach(PROGRAM owcimomd owpasswd kov-setup kov-verify)
  if(TARGET ${PROGRAM})
    install(TARGETS ${PROGRAM} RUNTIME DESTINATION /opt/tarvo/kov/sbin)
    add_dependencies(programs ${PROGRAM})
  endif()
endforeach()
install(PROGRAMS packaging/init/tarvo-owcimomd_init DESTINATION /opt/tarvo/kov/sbin)
# systemd does not look here: a package for a system with systemd copies the unit to its place.
install(FILES packaging/systemd/tarvo-owcimomd.service
        DESTINATION /opt/tarvo/kov/share/systemd)
install(FILES packaging/man/owmofc.1 packaging/man/owdeleteinstance.1
              packaging/man/owdeletenamespace.1 packaging/man/owshow.1
        DESTINATION /opt/tarvo/kov/share/man/man1)
install(FILES packaging/man/fennik.8 packaging/man/kov-setup.8 packaging/man/kov-verify.8
        DESTINATION /opt/tarvo/kov/share/man/man8)
install(FILES packaging/man/owcimomd.8 packaging/man/owpasswd.8 packaging/man/tarvo-owcimomd_init.8
        DESTINATION /opt/tarvo/kov/share/man/man8)
install(FILES packaging/man/kov-privilege-file.5 packaging/man/kov-provider-list.5
              packaging/man/kov-saved-state.5 packaging/man/openwbem.conf.5
        DESTINATION /opt/tarvo/kov/share/man/man5)
# bash-completion looks for a file with the name of the command.
foreach(PROGRAM fennik owmofc owdeleteinstance owdeletenamespace owpasswd owshow kov-setup
        kov-verify owcimomd tarvo-owcimomd_init)
  install(FILES packaging/completion/kov.bash
          DESTINATION /usr/share/bash-completion/completions RENAME ${PROGRAM})
endforeach()
