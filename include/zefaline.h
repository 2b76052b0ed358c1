/**
 * @file zefaline.h
 * zefaline1: uncompressed video, audio and ancillary data over IP (SMPTE ST 2110) for applications.
 *
 * The library moves no packets itself: a service on the same machine owns network, cores and streams. The library
 * drives it over HTTP on localhost and exchanges media with it through rings of shared memory.
 *
 * The road of a receive stream: ZEFA_CreateMXSContext; ZEFA_ReadSDP; ZEFA_CreateConductor, ZEFA_SetConductorConfig,
 * ZEFA_StartConductor; ZEFA_CreateStream, ZEFA_SetStreamCommonConfig, ZEFA_SetStreamNetworkConfig,
 * ZEFA_SetStreamEssenceConfig; ZEFA_OpenStream, ZEFA_StartStream; then in a loop ZEFA_LockSlot, ZEFA_GetSlotBuffer,
 * ZEFA_UnlockSlot; and back: ZEFA_StopStream, ZEFA_CloseStream, ZEFA_DestroyStream, ZEFA_StopConductor,
 * ZEFA_DestroyConductor, ZEFA_DestroyMXSContext.
 *
 * Language. C99 and C++11. Every function returns a result code and is told completely at its declaration: each code
 * and when it comes. Booleans are uint8_t unless a field says 32 bits, enumerations are 32-bit numbers with named
 * constants; any value may be passed, and none is undefined. Pointers are tested for null only where the manual says
 * what comes of it. Fields and parameters end in their type: _ULL, _UL, _US, _UB unsigned of 64, 32, 16 and 8
 * bits, _L signed of 32, _B boolean or signed of 8, _D double, _E enumeration, _C characters, _X structure, with p in
 * front for a pointer.
 *
 * Ownership. Handles belong to the application, which destroys streams before their context. Buffers and slots belong
 * to the ring: an address is good while its slot is locked. Nothing is counted by reference. A function copies what it
 * is given; it keeps no pointer of the application.
 *
 * Threads. Several threads may call on one context at once, and on different streams. On one stream, one media thread
 * locks slots and works with them beside one control thread; slot metadata and unlocking take one thread at a time on a
 * stream; a slot is not tied to the thread that locked it. ZEFA_DestroyMXSContext and ZEFA_DestroyStream must not
 * overlap any other call on their handle. The library starts the watchdog of each context, and asks for the HTTP
 * library's pool (below); no other thread. After a fork the child must not use a context of its parent.
 *
 * HTTP. The exchanges run on the task pool of the HTTP library, cpprestsdk, which is one for the whole process. Before
 * the first exchange zefaline1 asks for a pool of one thread instead of 40, and accepts it when the application
 * has set its size before. A call from inside a task of that pool can wait for itself: do not call from there.
 *
 * Exceptions. Functions report by their result. What may leave them as a C++ exception is memory exhaustion, a URL
 * that the HTTP library refuses or a watchdog that the system grants no thread (ZEFA_CreateMXSContext), a service that
 * redirects against the protocol, and what ZEFA_ReadSDP and the packets of a slot (anc.h) tell.
 *
 * Log. Texts go where the settings file says, see docs/logging.md; without one nothing is printed.
 */
#ifndef ZEFALINE_H
#define ZEFALINE_H

#include "zefaline/anc.h"
#include "zefaline/base.h"
#include "zefaline/conductor.h"
#include "zefaline/context.h"
#include "zefaline/ptp.h"
#include "zefaline/resources.h"
#include "zefaline/sdp.h"
#include "zefaline/slot.h"
#include "zefaline/stream.h"
#include "zefaline/video_standards.h"

#endif /* ZEFALINE_H */
