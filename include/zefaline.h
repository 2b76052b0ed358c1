/**
 * @file zefaline.h
 * zefaline1: uncompressed video, audio and ancillary data over IP (SMPTE ST 2110) for applications.
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
