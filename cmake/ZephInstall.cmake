# PREFIX/lib/cgi-bin is a folder that a web server may start programs from: the
# program finds its settings library in the current directory, which a server sets to
# the program's own, and the library finds zeph.conf beside itself.
install(TARGETS zeph RUNTIME DESTINATION lib/cgi-bin)
install(TARGETS zephconfig LIBRARY DESTINATION lib/cgi-bin)
install(TARGETS zephasm zephdump RUNTIME DESTINATION bin)
install(FILES include/zeph/extension.h DESTINATION include/zeph)
install(FILES extensions/config/zeph.conf DESTINATION share/zeph RENAME zeph.conf.example)

# The example site, ready to be served by lighttpd.
install(FILES examples/zeph.conf DESTINATION lib/cgi-bin)
install(FILES examples/lighttpd.conf DESTINATION share/zeph)
install(DIRECTORY ${CMAKE_BINARY_DIR}/examples/site DESTINATION share/zeph)
