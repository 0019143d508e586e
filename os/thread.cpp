// Threads and mutexes over POSIX threads. The library starts no thread itself; hosts use these
// for the two-thread JPEG decode.

#include <pthread.h>

#include "kovra_os.h"

extern "C" {

KOVRA_API int32_t KOVRADALT_OsThreadCreate(KOVRADALT_ThreadStart start, void *argument, pthread_t *thread) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setscope(&attributes, PTHREAD_SCOPE_SYSTEM);
    pthread_t created{};
    int result = pthread_create(&created, &attributes, start, argument);
    pthread_attr_destroy(&attributes);
    if (result != 0) return 0;
    *thread = created;
    return 1;
}

KOVRA_API int32_t KOVRADALT_OsThreadWait(pthread_t thread, void * /*value*/) {
    void *exit_value = nullptr;  // received and discarded
    return pthread_join(thread, &exit_value);
}

KOVRA_API int32_t KOVRADALT_OsThreadMutex_Init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attributes) {
    return pthread_mutex_init(mutex, attributes);
}

KOVRA_API int32_t KOVRADALT_OsThreadMutex_Lock(pthread_mutex_t *mutex) { return pthread_mutex_lock(mutex); }

KOVRA_API int32_t KOVRADALT_OsThreadMutex_Unlock(pthread_mutex_t *mutex) { return pthread_mutex_unlock(mutex); }

}  // extern "C"
