// The process-global reply areas and the send lock. Callers keep the returned-pointer interface
// of the senders, so these live for the whole process and are never reallocated.

#include <orbafactory/engineer.h>

extern "C" {

ORBA_EXPORT char recv_buf[4096];
ORBA_EXPORT char cmd_recv_buf[1024];
ORBA_EXPORT char camera_recv_buf[1024];
// Recursive: a caller that must read the reply before another thread's send overwrites it holds
// the lock across its send and its copy.
ORBA_EXPORT pthread_mutex_t g_sendmessage_mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

}
