# SPDX-License-Identifier: Apache-2.0
# Where the programs of an installation stand. The places are absolute, as the programs know each
# other by them; DESTDIR puts the whole tree below another directory:
#
#   DESTDIR=/tmp/stage cmake --install build
foreach(PROGRAM fennik owmofc)
  if(TARGET ${PROGRAM})
    install(TARGETS ${PROGRAM} RUNTIME DESTINATION /opt/tarvo/kov/bin)
  endif()
endforeach()
foreach(PROGRAM kov-setup)
  if(TARGET ${PROGRAM})
    install(TARGETS ${PROGRAM} RUNTIME DESTINATION /opt/tarvo/kov/sbin)
  endif()
endforeach()
install(FILES packaging/man/owmofc.1 DESTINATION /opt/tarvo/kov/share/man/man1)
install(FILES packaging/man/fennik.8 packaging/man/kov-setup.8
        DESTINATION /opt/tarvo/kov/share/man/man8)
