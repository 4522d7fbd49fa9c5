// Preloaded into a program (LD_PRELOAD), this lets one of its system calls or allocations fail, or ends it there. The
// variable FAULT says which: "KIND N MARK", the Nth from 0 and a file that is made when it is reached. KIND is an error
// number for system calls, or "short" (half of what is read or written), "null" (allocations), "thread" (starts of
// threads), "kill" or "term". A program that ends in order before the Nth call leaves their number in MARK and
// "-count".
//
// System calls are caught in the kernel, whatever function of the C library makes them: a filter (seccomp(2)) turns
// those on files into a signal, except those that this library makes itself. What is printed always succeeds.
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <signal.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/ucontext.h>
#include <unistd.h>

extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *block, size_t size);

// A system call of our own: the filter knows it by the address that follows it.
extern "C" long fault_call(long number, long a, long b, long c, long d, long e, long f);
extern "C" const char fault_call_end[];
asm(R"(
  .global fault_call
  .hidden fault_call_end
  .global fault_call_end
fault_call:
  mov %rdi, %rax
  mov %rsi, %rdi
  mov %rdx, %rsi
  mov %rcx, %rdx
  mov %r8, %r10
  mov %r9, %r8
  mov 8(%rsp), %r9
  syscall
fault_call_end:
  ret
)");

namespace {

constexpr int CALLS[] = {SYS_open,      SYS_openat,    SYS_creat,           SYS_memfd_create,
                         SYS_read,      SYS_pread64,   SYS_preadv,          SYS_write,
                         SYS_pwrite64,  SYS_writev,    SYS_pwritev,         SYS_pwritev2,
                         SYS_lseek,     SYS_stat,      SYS_lstat,           SYS_newfstatat,
                         SYS_fstat,     SYS_statx,     SYS_access,          SYS_faccessat2,
                         SYS_readlink,  SYS_fsync,     SYS_fdatasync,       SYS_syncfs,
                         SYS_ftruncate, SYS_fallocate, SYS_rename,          SYS_renameat,
                         SYS_renameat2, SYS_link,      SYS_linkat,          SYS_unlink,
                         SYS_unlinkat,  SYS_fchmod,    SYS_fchown,          SYS_chmod,
                         SYS_chown,     SYS_mmap,      SYS_close,           SYS_fcntl,
                         SYS_flock,     SYS_dup,       SYS_copy_file_range, SYS_sendfile};

char kind[16];
char mark[4096];
long wanted = 0;  // which of the calls is the one that fails
long left = -1;   // calls before it
int error = 0;    // what it fails with; 0 if it fails in another way
bool allocations = false, threads = false;

// Whether this is the call; a program that is to end ends here.
bool is_the_call() {
  if (__atomic_fetch_sub(&left, 1, __ATOMIC_RELAXED) != 0) return false;
  fault_call(SYS_close, fault_call(SYS_creat, reinterpret_cast<long>(mark), 0666, 0, 0, 0, 0), 0, 0, 0, 0, 0);
  const int ending = strcmp(kind, "kill") == 0 ? SIGKILL : strcmp(kind, "term") == 0 ? SIGTERM : 0;
  if (ending != 0) fault_call(SYS_kill, fault_call(SYS_getpid, 0, 0, 0, 0, 0, 0), ending, 0, 0, 0, 0);
  return true;
}

bool transfers(long number) {
  return number == SYS_read || number == SYS_pread64 || number == SYS_write || number == SYS_pwrite64;
}

void catch_call(int, siginfo_t *info, void *context) {
  auto *registers = static_cast<ucontext_t *>(context)->uc_mcontext.gregs;
  const long number = info->si_syscall;
  long count = registers[REG_RDX];
  const bool is_stream = registers[REG_RDI] == STDOUT_FILENO || registers[REG_RDI] == STDERR_FILENO;
  if (!(number == SYS_write && is_stream) && is_the_call()) {
    if (error != 0) {
      registers[REG_RAX] = -error;
      return;
    }
    if (*kind == 's' && transfers(number) && count > 1) count /= 2;
  }
  registers[REG_RAX] = fault_call(number, registers[REG_RDI], registers[REG_RSI], count, registers[REG_R10],
                                  registers[REG_R8], registers[REG_R9]);
}

void install_filter() {
  struct sigaction action = {};
  action.sa_sigaction = catch_call;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  sigaction(SIGSYS, &action, nullptr);
  const auto end = reinterpret_cast<uintptr_t>(fault_call_end);
  sock_filter filter[8 + 2 * sizeof CALLS / sizeof *CALLS];
  unsigned short size = 0;
  const auto add = [&](sock_filter instruction) { filter[size++] = instruction; };
  const auto load = [&](size_t offset) { add(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<uint32_t>(offset))); };
  load(offsetof(seccomp_data, instruction_pointer));
  add(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(end), 0, 3));
  load(offsetof(seccomp_data, instruction_pointer) + 4);
  add(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(end >> 32), 0, 1));
  add(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  load(offsetof(seccomp_data, nr));
  for (const int call : CALLS) {
    add(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(call), 0, 1));
    add(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP));
  }
  add(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program = {size, filter};
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) != 0) _exit(99);
}

[[gnu::constructor]] void read_fault() {
  const char *fault = getenv("FAULT");
  long at = 0;
  if (!fault || sscanf(fault, "%15s %ld %4095s", kind, &at, mark) != 3) return;
  error = atoi(kind);
  allocations = strcmp(kind, "null") == 0;
  threads = strcmp(kind, "thread") == 0;
  if (!allocations && !threads) install_filter();
  left = wanted = at;
}

[[gnu::destructor]] void leave_count() {
  if (left < 0) return;
  char path[sizeof mark + sizeof "-count"], number[24];
  snprintf(path, sizeof path, "%s-count", mark);
  const int size = snprintf(number, sizeof number, "%ld", wanted - left);
  const long fd = fault_call(SYS_creat, reinterpret_cast<long>(path), 0666, 0, 0, 0, 0);
  fault_call(SYS_write, fd, reinterpret_cast<long>(number), size, 0, 0, 0);
}

bool no_memory() {
  if (!allocations || !is_the_call()) return false;
  errno = ENOMEM;
  return true;
}

}  // namespace

extern "C" void *malloc(size_t size) {
  return no_memory() ? nullptr : __libc_malloc(size);
}

extern "C" void *calloc(size_t count, size_t size) {
  return no_memory() ? nullptr : __libc_calloc(count, size);
}

extern "C" void *realloc(void *block, size_t size) {
  return no_memory() ? nullptr : __libc_realloc(block, size);
}

extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*start)(void *),
                              void *argument) {
  static const auto create = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
  return threads && is_the_call() ? EAGAIN : create(thread, attributes, start, argument);
}
