io.write("Content-Type: text/html\r\nContent-Length: 22\r\n\r\n<h1>Hello, world!</h1>")
