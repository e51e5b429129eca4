// Runs damaged forms of compiled files, one after the other: each must end with a known
// message or run to its end, soon, and give all memory back.
//
// The work is done in child processes, so that one that dies is only a fault of the form
// at hand. The machine's arithmetic trap is a deliberate end.

#include <malloc.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "Image.h"
#include "ImageRun.h"
#include "Mutations.h"
#include "primitives/power.h"
#include "variables/Variable.h"

namespace {

const char kUsage[] =
    "Usage: mutate_images [--all | --sample N] [--write DIR] IMAGE...\n"
    "Runs damaged forms of each compiled file.\n"
    "\n"
    "  --all        every form, which takes minutes for each file\n"
    "  --sample N   about N forms of each file, always the same ones (default 500)\n"
    "  --write DIR  only writes the forms there, with a list of what each gives\n"
    "  --only N     one form of each file, by its number\n";

// Of processor time, so that a busy machine does not matter. A run is cancelled at the
// first tick; whatever is not over some ticks later hangs.
const int kTickMicroseconds = 200000;
#ifdef __SANITIZE_ADDRESS__
const int kTicksOfHang = 50;
#else
const int kTicksOfHang = 5;
#endif

const int kTrapped = -1;

// What the children and their parent share.
struct Progress {
    long current;  // number of the form at hand
    long runs;
    long traps;
    long faults;
    volatile int ticks;
    char name[256];
};

struct Options {
    bool all = false;
    long sample = 500;
    long only = -1;
    const char* write = nullptr;
};

Progress* progress;

void Say(const char* text)
{
    if (write(STDERR_FILENO, text, strlen(text)) < 0)
        _exit(2);
}

void Tick(int)
{
    ImageRunner::Cancel();
    progress->ticks = progress->ticks + 1;
    if (progress->ticks < kTicksOfHang)
        return;
    Say("takes too long\n");
    abort();
}

void StartTicks()
{
    struct sigaction action = {};
    action.sa_handler = Tick;
    action.sa_flags = SA_RESTART;
    sigaction(SIGPROF, &action, nullptr);
    itimerval interval = {{0, kTickMicroseconds}, {0, kTickMicroseconds}};
    setitimer(ITIMER_PROF, &interval, nullptr);
}

// Makes the allocator's account exact: freed memory that it keeps for the next request
// would count as in use. One of the settings is taken at the start of a process only.
void AccountExactly(char** argv)
{
    static const char name[] = "GLIBC_TUNABLES";
    static const char value[] = "glibc.malloc.tcache_count=0";
    mallopt(M_MXFAST, 0);
    const char* present = getenv(name);
    if (present && strcmp(present, value) == 0)
        return;
    setenv(name, value, 1);
    execv("/proc/self/exe", argv);
    perror("execv");
    exit(2);
}

// Bytes in use. The sanitizers keep no account; they look for leaks at the end.
size_t BytesInUse()
{
    struct mallinfo2 use = mallinfo2();
    return use.uordblks + use.hblkhd;
}

// The memory of variables and elements is kept for the next ones, and the library of powers
// for the next power, so they are taken before any run is measured: more than a run takes.
void TakeKeptMemory()
{
    double power;
    Power(1.0, 1.0, &power);
    const int kMost = 2000;
    Variable* array = Variable::New("", 0);
    for (int i = 1; i <= kMost; ++i)
        array->Element(AggregateIndex(i), 1);
    array->DecRefCount();
}

void Fault(const char* image, const std::string& name, const std::string& what)
{
    ++progress->faults;
    printf("%s, form %ld, %s: %s\n", image, progress->current, name.c_str(), what.c_str());
    fflush(stdout);
}

// Counts the forms and picks those of the sample.
class Selection : public MutationVisitor {
public:
    Selection(long step, long first, long only) : m_step(step), m_first(first), m_only(only) {}

    bool Wants() override
    {
        long number = m_count++;
        progress->current = number;
        if (m_only >= 0)
            return number == m_only;
        return number >= m_first && number % m_step == 0;
    }
    void Take(const std::string&, const std::string&) override {}
    long count() const { return m_count; }

private:
    long m_step;
    long m_first;
    long m_only;
    long m_count = 0;
};

class Execution : public Selection {
public:
    Execution(const char* image, ImageRunner* runner, long step, long first, long only)
        : Selection(step, first, only), m_image(image), m_runner(runner)
    {
    }

    void Take(const std::string& name, const std::string& bytes) override
    {
        snprintf(progress->name, sizeof progress->name, "%s", name.c_str());
        progress->ticks = 0;
        ++progress->runs;
        size_t before = BytesInUse();
        {
            RunResult result = m_runner->Run(bytes);
            if (!result.IsKnown())
                Fault(m_image, name, "unknown text '" + result.text + "'");
        }
        if (BytesInUse() > before && progress->runs > 1)
            Fault(m_image, name, std::to_string(BytesInUse() - before) + " bytes are lost");
    }

private:
    const char* m_image;
    ImageRunner* m_runner;
};

// Writes a form and what it gives, for runs of the whole program.
class Writing : public Selection {
public:
    Writing(const char* folder, const std::string& prefix, ImageRunner* runner, long step,
            long first, long only)
        : Selection(step, first, only),
          m_folder(folder),
          m_prefix(prefix),
          m_runner(runner),
          m_list(m_folder + "/list", std::ios::app)
    {
    }

    void Take(const std::string& name, const std::string& bytes) override
    {
        snprintf(progress->name, sizeof progress->name, "%s", name.c_str());
        progress->ticks = 0;
        std::string file = m_prefix + "-" + std::to_string(progress->current);
        std::ofstream(m_folder + "/" + file, std::ios::binary) << bytes;
        RunResult result = m_runner->Run(bytes);
        static const char* const stages[] = {"open", "read", "run"};
        const char* stage =
            result.is_cut || result.text == "Application timed out" ? "long" : stages[result.stage];
        m_list << file << '\t' << name << '\t' << stage << '\t' << Hex(result.written + result.text)
               << std::endl;
    }

    void Trapped()
    {
        m_list << m_prefix << '-' << progress->current << '\t' << progress->name << "\ttrap\t"
               << std::endl;
    }

private:
    static std::string Hex(const std::string& bytes)
    {
        std::string text;
        for (unsigned char byte : bytes) {
            char digits[3];
            snprintf(digits, sizeof digits, "%02x", byte);
            text += digits;
        }
        return text;
    }

    std::string m_folder;
    std::string m_prefix;
    ImageRunner* m_runner;
    std::ofstream m_list;
};

std::string BaseName(const char* path)
{
    const char* slash = strrchr(path, '/');
    std::string name = slash ? slash + 1 : path;
    return name.substr(0, name.rfind('.'));
}

// In a child: all forms from `first` on.
void RunForms(const Options& options, const char* path, const Image& image, long step, long first)
{
    {
        ImageRunner runner;
        StartTicks();
        if (options.write) {
            Writing writing(options.write, BaseName(path), &runner, step, first, options.only);
            VisitMutations(image, &writing);
        } else {
            Execution execution(path, &runner, step, first, options.only);
            VisitMutations(image, &execution);
        }
    }
    exit(0);
}

// The status of the child, or kTrapped.
int WaitFor(pid_t child)
{
    int status;
    if (waitpid(child, &status, 0) != child)
        return 1;
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGFPE)
        return kTrapped;
    return status;
}

void RunImage(const Options& options, const char* path, const Image& image)
{
    Selection counter(1, 0, -1);
    VisitMutations(image, &counter);
    long step = options.all || options.sample < 1 ? 1 : counter.count() / options.sample | 1;
    for (long first = 0; first < counter.count(); first = progress->current + 1) {
        fflush(stdout);
        pid_t child = fork();
        if (child == 0)
            RunForms(options, path, image, step, first);
        int status = WaitFor(child);
        if (status == 0)
            return;
        if (status == kTrapped) {
            ++progress->traps;
            if (options.write)
                Writing(options.write, BaseName(path), nullptr, step, first, -1).Trapped();
        } else {
            Fault(path, progress->name, "ends with status " + std::to_string(status));
        }
        if (options.only >= 0)
            return;
    }
}

bool ReadImage(const char* path, std::string* bytes)
{
    std::ifstream file(path, std::ios::binary);
    bytes->assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (file && !bytes->empty())
        return true;
    fprintf(stderr, "%s cannot be read\n", path);
    return false;
}

int ReadOptions(int argc, char** argv, Options* options)
{
    int next = 1;
    for (; next < argc && argv[next][0] == '-'; ++next) {
        const char* value = next + 1 < argc ? argv[next + 1] : nullptr;
        if (strcmp(argv[next], "--all") == 0) {
            options->all = true;
            continue;
        }
        if (strcmp(argv[next], "--sample") == 0 && value)
            options->sample = atol(value);
        else if (strcmp(argv[next], "--only") == 0 && value)
            options->only = atol(value);
        else if (strcmp(argv[next], "--write") == 0 && value)
            options->write = value;
        else
            return argc;
        ++next;
    }
    return next;
}

}  // namespace

int main(int argc, char** argv)
{
    AccountExactly(argv);
    Options options;
    int next = ReadOptions(argc, argv, &options);
    if (next >= argc) {
        fputs(kUsage, stderr);
        return 2;
    }
    progress = static_cast<Progress*>(
        mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    if (progress == MAP_FAILED) {
        perror("mmap");
        return 2;
    }
    TakeKeptMemory();
    for (; next < argc; ++next) {
        std::string bytes;
        if (!ReadImage(argv[next], &bytes))
            return 2;
        RunImage(options, argv[next], Image(bytes));
    }
    printf("%ld forms, %ld traps, %ld faults\n", progress->runs, progress->traps, progress->faults);
    return progress->faults == 0 ? 0 : 1;
}
