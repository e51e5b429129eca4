/* Times whole processes, in alternation, so that a change of the machine's pace hits
 * all alike, and in another order each round, since who runs behind a large process
 * finds the caches cold.
 *
 *   bench_spawn ROUNDS [cpu] < CONTENDERS
 *
 * Each line of standard input names a contender: a label, a folder to start in and a
 * command, with tabs between and blanks within the command. A fourth field is a factor for
 * the times of a command that does only a part of the work. The environment is handed on.
 * The output goes to /dev/null. Prints for each the median and the fastest time, the ratio
 * of the median to the first contender's, and the peak resident size.
 *
 * Times are those of the clock on the wall, or with `cpu` the processor's, for user and
 * system together. */
#define _GNU_SOURCE
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

enum { kMostContenders = 16, kMostWords = 16, kLine = 4096 };

struct contender {
    char line[kLine];
    char* label;
    char* folder;
    char* words[kMostWords + 1];
    double factor;
    double* seconds;
    long resident; /* KiB */
};

static void fail(const char* what, const char* which)
{
    fprintf(stderr, "bench_spawn: %s: %s\n", what, which);
    exit(1);
}

static double now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (double)time.tv_sec + (double)time.tv_nsec * 1e-9;
}

static double processor_time(const struct rusage* usage)
{
    return (double)(usage->ru_utime.tv_sec + usage->ru_stime.tv_sec) +
           (double)(usage->ru_utime.tv_usec + usage->ru_stime.tv_usec) * 1e-6;
}

static int ascending(const void* left, const void* right)
{
    double a = *(const double*)left;
    double b = *(const double*)right;
    return (a > b) - (a < b);
}

static void parse(struct contender* contender, int rounds)
{
    contender->line[strcspn(contender->line, "\n")] = 0;
    contender->label = strtok(contender->line, "\t");
    contender->folder = strtok(NULL, "\t");
    char* command = strtok(NULL, "\t");
    if (!command)
        fail("a line needs a label, a folder and a command", contender->line);
    const char* factor = strtok(NULL, "\t");
    contender->factor = factor ? atof(factor) : 1;
    int count = 0;
    for (char* word = strtok(command, " "); word && count < kMostWords; word = strtok(NULL, " "))
        contender->words[count++] = word;
    contender->words[count] = NULL;
    contender->seconds = calloc((size_t)rounds, sizeof(double));
    if (!contender->seconds)
        fail("out of memory", contender->label);
}

static void run(struct contender* contender, int round, int by_processor)
{
    extern char** environ;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addchdir_np(&actions, contender->folder);
    pid_t child;
    struct rusage usage;
    int status;
    double start = now();
    if (posix_spawn(&child, contender->words[0], &actions, NULL, contender->words, environ) != 0)
        fail("cannot start", contender->label);
    wait4(child, &status, 0, &usage);
    double seconds = now() - start;
    if (by_processor)
        seconds = processor_time(&usage);
    contender->seconds[round] = seconds * contender->factor;
    posix_spawn_file_actions_destroy(&actions);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        fail("ended with a failure", contender->label);
    if (usage.ru_maxrss > contender->resident)
        contender->resident = usage.ru_maxrss;
}

static void shuffle(int* order, int count)
{
    for (int i = count - 1; i > 0; --i) {
        int other = rand() % (i + 1);
        int swapped = order[i];
        order[i] = order[other];
        order[other] = swapped;
    }
}

int main(int argc, char** argv)
{
    static struct contender contenders[kMostContenders];
    int by_processor = argc == 3 && strcmp(argv[2], "cpu") == 0;
    int rounds = argc == 2 || by_processor ? atoi(argv[1]) : 0;
    if (rounds < 1)
        fail("usage", "bench_spawn ROUNDS [cpu] < CONTENDERS");
    int count = 0;
    while (count < kMostContenders && fgets(contenders[count].line, kLine, stdin))
        parse(&contenders[count++], rounds);
    int order[kMostContenders];
    for (int i = 0; i < count; ++i)
        order[i] = i;
    for (int round = 0; round < rounds; ++round) {
        shuffle(order, count);
        for (int i = 0; i < count; ++i)
            run(&contenders[order[i]], round, by_processor);
    }
    printf("%-24s %10s %10s %8s %10s\n", "", "median ms", "fastest", "ratio", "KiB");
    double first = 0;
    for (int i = 0; i < count; ++i) {
        qsort(contenders[i].seconds, (size_t)rounds, sizeof(double), ascending);
        double median = contenders[i].seconds[rounds / 2];
        if (i == 0)
            first = median;
        printf("%-24s %10.3f %10.3f %8.2f %10ld\n", contenders[i].label, median * 1e3,
               contenders[i].seconds[0] * 1e3, median / first, contenders[i].resident);
    }
    return 0;
}
