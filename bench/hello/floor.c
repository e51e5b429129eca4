/* hello.c with what the design of the runtime asks of every process on top: a second
 * thread that waits for a mutex, and one shared library opened at run time. */
#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

static pthread_mutex_t stop = PTHREAD_MUTEX_INITIALIZER;

static void* wait_for_stop(void* unused)
{
    pthread_mutex_lock(&stop);
    pthread_mutex_unlock(&stop);
    return unused;
}

int main(void)
{
    static const char answer[] =
        "Content-Type: text/html\r\nContent-Length: 22\r\n\r\n<h1>Hello, world!</h1>";
    pthread_t thread;
    pthread_mutex_lock(&stop);
    if (pthread_create(&thread, 0, wait_for_stop, 0) != 0 ||
        !dlopen("./libzephconfig.so", RTLD_LAZY) || write(1, answer, sizeof answer - 1) < 0)
        return 1;
    pthread_mutex_unlock(&stop);
    return pthread_join(thread, 0);
}
