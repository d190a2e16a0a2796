/* A stand on which the program is run again and again, each time with one fault.
 *
 * Loaded before the program (LD_PRELOAD), it takes the place of main: it reads orders from one pipe, forks,
 * lets the child run the real main with the fault that was ordered, and answers on another pipe how the
 * child ended. Loading the program, which costs more than running it, is done once.
 *
 * An order is a line "KIND N LASTING ERROR": the N-th call of the kind fails, and with LASTING all behind
 * it as well. N = 0 only counts. The answer is "ended STATUS CALLS", STATUS as wait() gives it; with the
 * kind "stop" the child stops at its N-th call, the answer is "stopped PID", and a further line from the
 * pipe makes it go on. Kinds:
 *   memory  malloc and its kin give no memory
 *   write   what changes files or standard output fails with ERROR
 *   read    reading a file of the folder fails with ERROR
 *   stop    at a call of either of these two kinds
 *
 * Allocations are met by taking the place of malloc. System calls are met where they enter the system, by a
 * filter of seccomp that sends the process a signal: so those of every library are met, the C library's
 * own too. The handler carries the call out, or has it fail.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

enum kind { nothing, memory, writing, reading, stopping };

static struct {
    enum kind kind;
    long nth, lasting, error;
    long* calls; /* shared with the stand */
} fault;

static int is_met(enum kind kind) {
    if (fault.kind != kind) return 0;
    const long call = ++*fault.calls;
    return fault.nth > 0 && (call == fault.nth || (fault.lasting && call > fault.nth));
}

/* ---- memory ---- */

extern void* __libc_malloc(size_t);
extern void* __libc_calloc(size_t, size_t);
extern void* __libc_realloc(void*, size_t);
extern void* __libc_memalign(size_t, size_t);

static int is_out_of_memory(void) {
    if (!is_met(memory)) return 0;
    errno = ENOMEM;
    return 1;
}
void* malloc(size_t size) {
    return is_out_of_memory() ? NULL : __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    return is_out_of_memory() ? NULL : __libc_calloc(count, size);
}
void* realloc(void* old, size_t size) {
    return is_out_of_memory() ? NULL : __libc_realloc(old, size);
}
void* aligned_alloc(size_t alignment, size_t size) {
    return is_out_of_memory() ? NULL : __libc_memalign(alignment, size);
}
int posix_memalign(void** made, size_t alignment, size_t size) {
    *made = is_out_of_memory() ? NULL : __libc_memalign(alignment, size);
    return *made ? 0 : ENOMEM;
}

/* ---- system calls ---- */

#if defined(__x86_64__)

long carried_out(long number, long a, long b, long c, long d, long e, long f);
extern char carried_out_at
    []; /* behind the instruction that enters the system: there the filter lets pass */
__asm__(".text\n.globl carried_out\ncarried_out:\n"
        "mov %rdi, %rax\nmov %rsi, %rdi\nmov %rdx, %rsi\nmov %rcx, %rdx\n"
        "mov %r8, %r10\nmov %r9, %r8\nmov 8(%rsp), %r9\nsyscall\n"
        ".globl carried_out_at\ncarried_out_at:\nret\n");

enum { most_files = 256 };
static char folder[PATH_MAX];
static char is_ours[most_files], is_written[most_files];

static int is_of_folder(const char* path) {
    const size_t length = strlen(folder);
    return path[0] != '/' || (strncmp(path, folder, length) == 0 && path[length] == '/');
}
static int marked(const char* marks, long file) {
    return file >= 0 && file < most_files && marks[file];
}

static enum kind kind_of(long number, const greg_t* given) {
    const long first = given[REG_RDI];
    switch (number) {
    case SYS_read:
    case SYS_pread64: return marked(is_ours, first) ? reading : nothing;
    case SYS_write:
    case SYS_writev:
    case SYS_pwrite64: return first == 1 || marked(is_written, first) ? writing : nothing;
    case SYS_ftruncate:
    case SYS_fsync:
    case SYS_fdatasync:
    case SYS_close: return marked(is_written, first) ? writing : nothing;
    case SYS_openat:
        if (!is_of_folder((const char*)given[REG_RSI])) return nothing;
        return given[REG_RDX] & (O_WRONLY | O_RDWR) ? writing : reading;
    case SYS_rename:
    case SYS_mkdir: return is_of_folder((const char*)first) ? writing : nothing;
    default: return nothing;
    }
}

static void on_call(int signal, siginfo_t* what, void* context) {
    (void)signal;
    greg_t* const given = ((ucontext_t*)context)->uc_mcontext.gregs;
    const long number = what->si_syscall;
    const enum kind kind = kind_of(number, given);
    const int saved = errno;
    int fails = 0;
    if (kind != nothing && kind == fault.kind) fails = is_met(kind);
    if (kind != nothing && is_met(stopping)) carried_out(SYS_kill, getpid(), SIGSTOP, 0, 0, 0, 0);
    long result = -fault.error;
    /* A file whose closing fails is closed all the same. */
    if (!fails || number == SYS_close)
        result = carried_out(number, given[REG_RDI], given[REG_RSI], given[REG_RDX], given[REG_R10],
                             given[REG_R8], given[REG_R9]);
    if (number == SYS_openat && result >= 0 && result < most_files) {
        is_ours[result] = is_of_folder((const char*)given[REG_RSI]);
        is_written[result] = is_ours[result] && (given[REG_RDX] & (O_WRONLY | O_RDWR)) != 0;
    }
    if (number == SYS_close && marked(is_ours, given[REG_RDI]))
        is_ours[given[REG_RDI]] = is_written[given[REG_RDI]] = 0;
    given[REG_RAX] = fails ? -fault.error : result;
    errno = saved;
}

static int watch_calls(void) {
    if (!getcwd(folder, sizeof folder)) return -1;
    struct sigaction action = {.sa_sigaction = on_call, .sa_flags = SA_SIGINFO | SA_NODEFER};
    sigaction(SIGSYS, &action, NULL);
    const unsigned long at = (unsigned long)carried_out_at;
    const long watched[] = {SYS_read,     SYS_pread64,   SYS_write,  SYS_writev,
                            SYS_pwrite64, SYS_ftruncate, SYS_fsync,  SYS_fdatasync,
                            SYS_close,    SYS_openat,    SYS_rename, SYS_mkdir};
    enum {
        count = sizeof watched / sizeof *watched,
        pointer = offsetof(struct seccomp_data, instruction_pointer)
    };
    struct sock_filter filter[count + 8] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr))};
    for (int i = 0; i < count; ++i)
        filter[1 + i] = (struct sock_filter)BPF_JUMP(
            BPF_JMP | BPF_JEQ | BPF_K, (unsigned)watched[i], (unsigned char)(count - i), 0);
    const struct sock_filter rest[] = {
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW), /* not watched */
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, pointer),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, (unsigned)at, 0, 2),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, pointer + 4),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, (unsigned)(at >> 32), 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW), /* carried out by the handler */
    };
    memcpy(filter + 1 + count, rest, sizeof rest);
    const struct sock_fprog program = {.len = count + 8, .filter = filter};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return -1;
    return prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
}

#else
static int watch_calls(void) {
    return -1;
}
#endif

/* ---- the stand ---- */

static enum kind kind_named(const char* name) {
    const char* const names[] = {"none", "memory", "write", "read", "stop"};
    for (int i = 0; i < 5; ++i)
        if (strcmp(names[i], name) == 0) return (enum kind)i;
    return nothing;
}

static void take_place(const char* variable, int file) {
    const int opened = open(getenv(variable), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(opened, file);
    close(opened);
}

static FILE* orders;
static int answers;

static int wait_for(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, WUNTRACED) == child && WIFSTOPPED(status)) {
        dprintf(answers, "stopped %d\n", child);
        char line[16];
        if (!fgets(line, sizeof line, orders)) break;
        kill(child, SIGCONT);
    }
    return status;
}

static int (*real_main)(int, char**, char**);

static int main_on_stand(int argc, char** argv, char** environment) {
    const char* const pipes = getenv("FAULTS_PIPES");
    int from = -1;
    if (!pipes || sscanf(pipes, "%d,%d", &from, &answers) != 2)
        return real_main(argc, argv, environment);
    orders = fdopen(from, "r");
    fault.calls =
        mmap(NULL, sizeof *fault.calls, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    char line[128], name[16];
    long nth = 0, lasting = 0, error = 0;
    while (fgets(line, sizeof line, orders)) {
        if (sscanf(line, "%15s %ld %ld %ld", name, &nth, &lasting, &error) != 4) return 99;
        *fault.calls = 0;
        const pid_t child = fork();
        if (child == 0) {
            take_place("FAULTS_OUT", 1);
            take_place("FAULTS_ERR", 2);
            close(from);
            close(answers);
            const enum kind kind = kind_named(name);
            if (kind > memory && watch_calls() != 0) _exit(98);
            fault.nth = nth;
            fault.lasting = lasting;
            fault.error = error;
            fault.kind = kind;
            const int code = real_main(argc, argv, environment);
#ifdef QMX_IC_COVERAGE /* what writes the counts at the end knows no lack of memory */
            fault.kind = nothing;
#endif
            return code;
        }
        const int status = wait_for(child);
        dprintf(answers, "ended %d %ld\n", status, *fault.calls);
    }
    _exit(0);
}

int __libc_start_main(int (*main)(int, char**, char**), int argc, char** argv, void (*init)(void),
                      void (*fini)(void), void (*rtld_fini)(void), void* stack_end) {
    real_main = main;
    int (*real)(int (*)(int, char**, char**), int, char**, void (*)(void), void (*)(void),
                void (*)(void), void*) = NULL;
    *(void**)&real = dlsym(RTLD_NEXT, "__libc_start_main");
    return real(main_on_stand, argc, argv, init, fini, rtld_fini, stack_end);
}

/* ---- the clock ---- */

/* FAULTS_CLOCK: seconds since 1970 at which the clock starts; each look at it finds it a day earlier. */
int clock_gettime(clockid_t clock, struct timespec* now) {
    static long looks;
    const char* const start = getenv("FAULTS_CLOCK");
    if (!start) return (int)syscall(SYS_clock_gettime, clock, now);
    now->tv_sec = atol(start) - 86400 * looks++;
    now->tv_nsec = 0;
    return 0;
}
time_t time(time_t* kept) {
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (kept) *kept = now.tv_sec;
    return now.tv_sec;
}
