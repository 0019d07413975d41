/* Started by the start-helper tests: reports the state this very program was given, read
 * through its own system calls before it opens anything but the descriptor listing (which it
 * leaves out), so no shell or helper in between can stand in for it.
 *
 *   blocked: <signals blocked>
 *   ignored: <signals ignored>
 *   fds: <open descriptors>
 */
#include <dirent.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
  sigset_t mask;
  if (sigprocmask(SIG_BLOCK, NULL, &mask) != 0) return 2;
  printf("blocked:");
  for (int sig = 1; sig < NSIG; ++sig) {
    if (sigismember(&mask, sig) == 1) printf(" %d", sig);
  }
  printf("\nignored:");
  for (int sig = 1; sig < NSIG; ++sig) {
    struct sigaction action;
    if (sigaction(sig, NULL, &action) == 0 && action.sa_handler == SIG_IGN) printf(" %d", sig);
  }
  printf("\nfds:");
  DIR* dir = opendir("/proc/self/fd");
  if (dir == NULL) return 3;
  int own = dirfd(dir);
  /* Listed in the kernel's order, which is ascending. */
  for (struct dirent* e; (e = readdir(dir)) != NULL;) {
    if (e->d_name[0] == '.') continue;
    int fd = atoi(e->d_name);
    if (fd != own) printf(" %d", fd);
  }
  closedir(dir);
  printf("\n");
  return 0;
}
