/*
 * An LD_PRELOAD library that stops or fails a real process at a real system
 * call, so tests can interrupt the engine at every durable step without any
 * test hook in the product.
 *
 *   TESSARY_FAULT_CALLS    comma-separated calls to count: renameat2, renameat,
 *                          fsync, syncfs, write (regular files only), unlinkat,
 *                          linkat
 *   TESSARY_FAULT_AT       the 1-based counted call at which to act (0: never);
 *                          "N-" acts at call N and every later one, as a
 *                          volume that refuses a call does
 *   TESSARY_FAULT_ACTION   kill (SIGKILL before the call runs), an errno name
 *                          (ENOSPC, EIO, EXDEV...: the call fails with it
 *                          without running), or run (TESSARY_FAULT_COMMAND is
 *                          run by the shell, then the call goes ahead)
 *   TESSARY_FAULT_STATX_EIO  a name: statx of a path ending in it fails with EIO,
 *                          as on a failing disk
 *   TESSARY_FAULT_NO_OPENAT2  when set, openat2 fails with ENOSYS as on an older
 *                          kernel, so the step-by-step folder walk is what runs
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <signal.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

static long counted;

static int listed(const char* call) {
    const char* calls = getenv("TESSARY_FAULT_CALLS");
    size_t length = strlen(call);
    for (const char* at = calls; at && (at = strstr(at, call)); at += length) {
        if ((at == calls || at[-1] == ',') && (at[length] == '\0' || at[length] == ','))
            return 1;
    }
    return 0;
}

/* Whether the call must fail; errno then says how. */
static int step(const char* call) {
    const char* at = getenv("TESSARY_FAULT_AT");
    if (!at || !*at || !listed(call))
        return 0;
    ++counted;
    if (at[strlen(at) - 1] == '-' ? counted < atol(at) : counted != atol(at))
        return 0;
    const char* action = getenv("TESSARY_FAULT_ACTION");
    if (!action || strcmp(action, "kill") == 0) {
        kill(getpid(), SIGKILL);
    } else if (strcmp(action, "run") == 0) {
        const char* command = getenv("TESSARY_FAULT_COMMAND");
        /* The shell and its commands must not count or fail calls of their own. */
        unsetenv("LD_PRELOAD");
        unsetenv("TESSARY_FAULT_CALLS");
        if (command && system(command) != 0)
            kill(getpid(), SIGKILL);
    } else {
        for (int value = 1; value < 4096; ++value) {
            const char* name = strerrorname_np(value);
            if (name && strcmp(action, name) == 0) {
                errno = value;
                return 1;
            }
        }
    }
    return 0;
}

#define NEXT(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

/* Each counted call: fails when its step says so, else goes ahead. */
#define COUNTED(name, parameters, arguments)                                                       \
    int name parameters {                                                                          \
        return step(#name) ? -1 : NEXT(name) arguments;                                            \
    }

COUNTED(renameat2, (int from, const char* old, int to, const char* new, unsigned int flags),
        (from, old, to, new, flags))
COUNTED(renameat, (int from, const char* old, int to, const char* new), (from, old, to, new))
COUNTED(linkat, (int from, const char* old, int to, const char* new, int flags),
        (from, old, to, new, flags))
COUNTED(unlinkat, (int folder, const char* path, int flags), (folder, path, flags))
COUNTED(fsync, (int fd), (fd))
COUNTED(syncfs, (int fd), (fd))

ssize_t write(int fd, const void* buffer, size_t count) {
    struct stat status;
    int regular = fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
    return regular && step("write") ? -1 : NEXT(write)(fd, buffer, count);
}

int statx(int dirfd, const char* pathname, int flags, unsigned int mask, struct statx* buffer) {
    const char* failing = getenv("TESSARY_FAULT_STATX_EIO");
    size_t length = failing ? strlen(failing) : 0, pathLength = strlen(pathname);
    if (length > 0 && pathLength >= length &&
        strcmp(pathname + pathLength - length, failing) == 0) {
        errno = EIO;
        return -1;
    }
    return NEXT(statx)(dirfd, pathname, flags, mask, buffer);
}

/* openat2 has no glibc wrapper and goes through syscall(); everything else
   passes through unchanged. */
long syscall(long number, ...) {
    va_list arguments;
    va_start(arguments, number);
    long a[6];
    for (int index = 0; index < 6; ++index)
        a[index] = va_arg(arguments, long);
    va_end(arguments);
    if (number == SYS_openat2 && getenv("TESSARY_FAULT_NO_OPENAT2")) {
        errno = ENOSYS;
        return -1;
    }
    return NEXT(syscall)(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}
