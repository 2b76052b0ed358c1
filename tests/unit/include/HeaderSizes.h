/* Sizes of the exported structures as one language sees them, for a comparison across languages. */
#ifndef HEADER_SIZES_H
#define HEADER_SIZES_H

#include "zefaline.h"

#define HEADER_SIZE_COUNT 24

#define HEADER_SIZES                                                                                                   \
    sizeof(ZEFA_LIBRARIES_STATUS), sizeof(ZEFA_CONDUCTOR_CONFIG), sizeof(ZEFA_CONDUCTOR_STATUS),                       \
        sizeof(ZEFA_CPU_CORE_STATUS), sizeof(ZEFA_NETWORK_INTERFACE_CONFIG), sizeof(ZEFA_NETWORK_INTERFACE_STATUS),    \
        sizeof(ZEFA_PTP_DEFAULT_DS), sizeof(ZEFA_PTP_PORT_DS), sizeof(ZEFA_PTP_CONFIG),                                \
        sizeof(ZEFA_PTP_PORT_IDENTITY), sizeof(ZEFA_PTP_STATUS), sizeof(ZEFA_STREAM_COMMON_CONFIG),                    \
        sizeof(ZEFA_CONNECTION_CONFIG), sizeof(ZEFA_STREAM_NETWORK_CONFIG), sizeof(ZEFA_ST2110_20_CONFIG),             \
        sizeof(ZEFA_ST2110_30_CONFIG), sizeof(ZEFA_ST2110_40_CONFIG), sizeof(ZEFA_ESSENCE_CONFIG),                     \
        sizeof(ZEFA_STREAM_COMMON_STATUS), sizeof(ZEFA_STREAM_NETWORK_STATUS), sizeof(ZEFA_TIMESTAMP),                 \
        sizeof(ZEFA_LOST_DATA), sizeof(ZEFA_ANC_PACKET), sizeof(ZEFA_SDP_INFO)

#ifdef __cplusplus
extern "C"
{
#endif
    extern const size_t SizesInC99[HEADER_SIZE_COUNT];
    extern const size_t SizesInCxx11[HEADER_SIZE_COUNT];
    int UseConstantsInC99(ZEFA_ERRORCODE code, ZEFA_VIDEO_STANDARD standard);
    int UseConstantsInCxx11(ZEFA_ERRORCODE code, ZEFA_VIDEO_STANDARD standard);
#ifdef __cplusplus
}
#endif

#endif
