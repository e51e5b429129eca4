/* The smallest honest CGI program: one answer, one write. */
#include <unistd.h>

int main(void)
{
    static const char answer[] =
        "Content-Type: text/html\r\nContent-Length: 22\r\n\r\n<h1>Hello, world!</h1>";
    return write(1, answer, sizeof answer - 1) < 0;
}
