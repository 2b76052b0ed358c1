/**
 * @file video_standards.h
 * Numbers of the video standards and what each means as a picture and as an SDI signal.
 */
#ifndef ZEFALINE_VIDEO_STANDARDS_H
#define ZEFALINE_VIDEO_STANDARDS_H

#include "base.h"

/** Number of a video standard, as a picture. Interlaced standards are named by their field rate. */
typedef int32_t ZEFA_VIDEO_STANDARD;
/** The same numbers, as an SDI signal; everything above 44 is unknown. */
typedef uint32_t ZEFA_SDI_VIDEO_STANDARD;

#define ZEFA_VIDEO_STANDARD_720X480_I_59_94 INT32_C(0)    /**< 720 x 480, 59.94 fields a second. */
#define ZEFA_VIDEO_STANDARD_720X487_I_59_94 INT32_C(1)    /**< 720 x 487, 59.94 fields a second. */
#define ZEFA_VIDEO_STANDARD_720X576_I_50 INT32_C(2)       /**< 720 x 576, 50 fields a second. */
#define ZEFA_VIDEO_STANDARD_1280X720_P_50 INT32_C(3)      /**< 1280 x 720, 50 frames a second. */
#define ZEFA_VIDEO_STANDARD_1280X720_P_59_94 INT32_C(4)   /**< 1280 x 720, 59.94 frames a second. */
#define ZEFA_VIDEO_STANDARD_1280X720_P_60 INT32_C(5)      /**< 1280 x 720, 60 frames a second. */
#define ZEFA_VIDEO_STANDARD_1920X1080_I_50 INT32_C(6)     /**< 1920 x 1080, 50 fields a second. */
#define ZEFA_VIDEO_STANDARD_1920X1080_I_59_94 INT32_C(7)  /**< 1920 x 1080, 59.94 fields a second. */
#define ZEFA_VIDEO_STANDARD_1920X1080_I_60 INT32_C(8)     /**< 1920 x 1080, 60 fields a second. */
#define ZEFA_VIDEO_STANDARD_1920X1080_P_23_98 INT32_C(9)  /**< 1920 x 1080, 23.98 frames a second. */
#define ZEFA_VIDEO_STANDARD_1920X1080_P_24 INT32_C(10)    /**< 1920 x 1080, 24 frames a second. */
#define ZEFA_VIDEO_STANDARD_1920X1080_P_25 INT32_C(11)    /**< 1920 x 1080, 25 frames a second. */
#define ZEFA_VIDEO_STANDARD_1920X1080_P_29_97 INT32_C(12) /**< 1920 x 1080, 29.97 frames a second. */
#define ZEFA_VIDEO_STANDARD_1920X1080_P_30 INT32_C(13)    /**< 1920 x 1080, 30 frames a second. */
#define ZEFA_VIDEO_STANDARD_1920X1080_P_50 INT32_C(14)    /**< 1920 x 1080, 50 frames a second. */
#define ZEFA_VIDEO_STANDARD_1920X1080_P_59_94 INT32_C(15) /**< 1920 x 1080, 59.94 frames a second. */
#define ZEFA_VIDEO_STANDARD_1920X1080_P_60 INT32_C(16)    /**< 1920 x 1080, 60 frames a second. */
#define ZEFA_VIDEO_STANDARD_2048X1080_P_23_98 INT32_C(17) /**< 2048 x 1080, 23.98 frames a second. */
#define ZEFA_VIDEO_STANDARD_2048X1080_P_24 INT32_C(18)    /**< 2048 x 1080, 24 frames a second. */
#define ZEFA_VIDEO_STANDARD_2048X1080_P_25 INT32_C(19)    /**< 2048 x 1080, 25 frames a second. */
#define ZEFA_VIDEO_STANDARD_2048X1080_P_29_97 INT32_C(20) /**< 2048 x 1080, 29.97 frames a second. */
#define ZEFA_VIDEO_STANDARD_2048X1080_P_30 INT32_C(21)    /**< 2048 x 1080, 30 frames a second. */
#define ZEFA_VIDEO_STANDARD_2048X1080_P_47_95 INT32_C(22) /**< 2048 x 1080, 47.95 frames a second. */
#define ZEFA_VIDEO_STANDARD_2048X1080_P_48 INT32_C(23)    /**< 2048 x 1080, 48 frames a second. */
#define ZEFA_VIDEO_STANDARD_2048X1080_P_50 INT32_C(24)    /**< 2048 x 1080, 50 frames a second. */
#define ZEFA_VIDEO_STANDARD_2048X1080_P_59_94 INT32_C(25) /**< 2048 x 1080, 59.94 frames a second. */
#define ZEFA_VIDEO_STANDARD_2048X1080_P_60 INT32_C(26)    /**< 2048 x 1080, 60 frames a second. */
#define ZEFA_VIDEO_STANDARD_3840X2160_P_23_98 INT32_C(27) /**< 3840 x 2160, 23.98 frames a second. */
#define ZEFA_VIDEO_STANDARD_3840X2160_P_24 INT32_C(28)    /**< 3840 x 2160, 24 frames a second. */
#define ZEFA_VIDEO_STANDARD_3840X2160_P_25 INT32_C(29)    /**< 3840 x 2160, 25 frames a second. */
#define ZEFA_VIDEO_STANDARD_3840X2160_P_29_97 INT32_C(30) /**< 3840 x 2160, 29.97 frames a second. */
#define ZEFA_VIDEO_STANDARD_3840X2160_P_30 INT32_C(31)    /**< 3840 x 2160, 30 frames a second. */
#define ZEFA_VIDEO_STANDARD_3840X2160_P_50 INT32_C(32)    /**< 3840 x 2160, 50 frames a second. */
#define ZEFA_VIDEO_STANDARD_3840X2160_P_59_94 INT32_C(33) /**< 3840 x 2160, 59.94 frames a second. */
#define ZEFA_VIDEO_STANDARD_3840X2160_P_60 INT32_C(34)    /**< 3840 x 2160, 60 frames a second. */
#define ZEFA_VIDEO_STANDARD_4096X2160_P_23_98 INT32_C(35) /**< 4096 x 2160, 23.98 frames a second. */
#define ZEFA_VIDEO_STANDARD_4096X2160_P_24 INT32_C(36)    /**< 4096 x 2160, 24 frames a second. */
#define ZEFA_VIDEO_STANDARD_4096X2160_P_25 INT32_C(37)    /**< 4096 x 2160, 25 frames a second. */
#define ZEFA_VIDEO_STANDARD_4096X2160_P_29_97 INT32_C(38) /**< 4096 x 2160, 29.97 frames a second. */
#define ZEFA_VIDEO_STANDARD_4096X2160_P_30 INT32_C(39)    /**< 4096 x 2160, 30 frames a second. */
#define ZEFA_VIDEO_STANDARD_4096X2160_P_47_95 INT32_C(40) /**< 4096 x 2160, 47.95 frames a second. */
#define ZEFA_VIDEO_STANDARD_4096X2160_P_48 INT32_C(41)    /**< 4096 x 2160, 48 frames a second. */
#define ZEFA_VIDEO_STANDARD_4096X2160_P_50 INT32_C(42)    /**< 4096 x 2160, 50 frames a second. */
#define ZEFA_VIDEO_STANDARD_4096X2160_P_59_94 INT32_C(43) /**< 4096 x 2160, 59.94 frames a second. */
#define ZEFA_VIDEO_STANDARD_4096X2160_P_60 INT32_C(44)    /**< 4096 x 2160, 60 frames a second. */
#define ZEFA_VIDEO_STANDARD_UNKNOWN INT32_C(45)           /**< No standard of this table. */

/**
 * Tells the picture of a video standard. Needs no context; any thread; does not block.
 *
 * @param VideoStandard_E Number of the standard, 0 to 44.
 * @param[out] pWidth_UL Pixels of a line.
 * @param[out] pHeight_UL Lines of the picture, both fields together.
 * @param[out] pRate_UL Frames a second, fields a second of an interlaced standard.
 * @param[out] pInterlaced_B Receives 1 for interlaced, else 0.
 * @param[out] pFractional_B Receives 1 when the true rate is pRate_UL times 1000/1001, else 0.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_POINTER An output is null, whatever the number.
 * @retval ZEFA_ERR_NOT_FOUND There is no such standard; nothing is written.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_ST2110_20_GetVideoStandardInfo(ZEFA_VIDEO_STANDARD VideoStandard_E, uint32_t* pWidth_UL,
                                                            uint32_t* pHeight_UL, uint32_t* pRate_UL,
                                                            uint8_t* pInterlaced_B, uint8_t* pFractional_B);

/**
 * Tells the timing of a video standard as an SDI signal (SMPTE ST 292-1, ST 424), of one of four links from 2160
 * lines on.
 *
 * Needs no context; any thread; does not block.
 *
 * @param VideoStandard_E Number of the standard, 0 to 44. Any other number gives zeros with *pInterlaced_B 1, and
 *        success.
 * @param[out] pTotalSamples_UL Samples of a whole line; not null.
 * @param[out] pActiveSamples_UL Samples of the active part of a line; not null.
 * @param[out] pTotalLines_UL Lines of a frame; not null.
 * @param[out] pActiveLines_UL Active lines of a frame; not null.
 * @param[out] pRate_UL Frames a second, fields a second of an interlaced signal; not null.
 * @param[out] pInterlaced_B Receives 1 for interlaced, else 0; not null.
 * @param[out] pFractional_B Receives 1 when the true rate is pRate_UL times 1000/1001, else 0; not null.
 * @retval ZEFA_NO_ERROR Always.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetAncSdiVideoStandardInfo(ZEFA_SDI_VIDEO_STANDARD VideoStandard_E,
                                                        uint32_t* pTotalSamples_UL, uint32_t* pActiveSamples_UL,
                                                        uint32_t* pTotalLines_UL, uint32_t* pActiveLines_UL,
                                                        uint32_t* pRate_UL, uint8_t* pInterlaced_B,
                                                        uint8_t* pFractional_B);

#endif /* ZEFALINE_VIDEO_STANDARDS_H */
