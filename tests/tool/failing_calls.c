/* Preloaded: lets calls fail, or do only a part, as KATESSEL_FAULT says: CALL:N:WHAT. CALL is write (of files, not of
 * messages), read, fsync, rename or malloc (of 1000 bytes and more); it goes wrong from the Nth on, from 1; WHAT is an
 * error number, or `short` for half of what was asked for. An interrupted call (EINTR) is interrupted once. */
/* Checked forms of the calls would be inline definitions of what stands here. */
#undef _FORTIFY_SOURCE

#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <stdatomic.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static atomic_int calls;

/* 0: no fault here; -1: short; else an error number. EINTR is over once it was seen. */
static int faultOf(const char* call) {
    static __thread int inside;
    char name[16] = "", what[16] = "";
    int first = 0, number, error;
    const char* const given = getenv("KATESSEL_FAULT");
    if (given == NULL || inside) return 0;
    inside = 1;
    error = 0;
    if (sscanf(given, "%15[a-z]:%d:%15s", name, &first, what) == 3 && strcmp(name, call) == 0) {
        number = atomic_fetch_add(&calls, 1) + 1;
        error = strcmp(what, "short") == 0 ? -1 : atoi(what);
        if (number < first || (number > first && error == EINTR)) error = 0;
    }
    inside = 0;
    return error;
}

/* The function that would be called without this file; `function` is where its address goes. */
static void find(void* function, const char* name) {
    void* const found = dlsym(RTLD_NEXT, name);
    memcpy(function, &found, sizeof found);
}

/* Returns 0 with errno set when the call is to fail. */
static int goesOn(int fault) {
    if (fault > 0) errno = fault;
    return fault <= 0;
}

ssize_t write(int descriptor, const void* bytes, size_t count) {
    ssize_t (*real)(int, const void*, size_t);
    const int fault = descriptor > 2 ? faultOf("write") : 0;
    find(&real, "write");
    return goesOn(fault) ? real(descriptor, bytes, fault < 0 && count > 1 ? count / 2 : count) : -1;
}

ssize_t read(int descriptor, void* bytes, size_t count) {
    ssize_t (*real)(int, void*, size_t);
    const int fault = faultOf("read");
    find(&real, "read");
    return goesOn(fault) ? real(descriptor, bytes, fault < 0 && count > 1 ? count / 2 : count) : -1;
}

int fsync(int descriptor) {
    int (*real)(int);
    find(&real, "fsync");
    return goesOn(faultOf("fsync")) ? real(descriptor) : -1;
}

int rename(const char* from, const char* to) {
    int (*real)(const char*, const char*);
    find(&real, "rename");
    return goesOn(faultOf("rename")) ? real(from, to) : -1;
}

void* malloc(size_t bytes) {
    static void* (*real)(size_t);
    if (real == NULL) find(&real, "malloc");
    return bytes < 1000 || goesOn(faultOf("malloc")) ? real(bytes) : NULL;
}
