// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CSystemMutex.h"

namespace kor
{

CSystemMutex::CSystemMutex()
{
    pthread_mutexattr_t kind;
    pthread_mutexattr_init(&kind);
    pthread_mutexattr_settype(&kind, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutexattr_setprotocol(&kind, PTHREAD_PRIO_INHERIT);
    if (pthread_mutex_init(&handle, &kind) != 0)
    {
        pthread_mutexattr_setprotocol(&kind, PTHREAD_PRIO_NONE);
        pthread_mutex_init(&handle, &kind);
    }
    pthread_mutexattr_destroy(&kind);
}

CSystemMutex::~CSystemMutex()
{
    pthread_mutex_destroy(&handle);
}

}
