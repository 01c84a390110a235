/* ezossl: sound-source localisation for a four-microphone array (public C interface). */
#ifndef EZOSSL_H
#define EZOSSL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define EZOSSL_API __attribute__((visibility("default")))
#else
#define EZOSSL_API
#endif

/* The handle is the caller's working buffer (EzoSsl_GetBufferSize() bytes,
 * aligned at least to 4 bytes, as any malloc result is). It is opaque. */
typedef struct SslHandle SslHandle;

/* Fixed shape of the audio path. */
#define EZOSSL_POINT_NUMBER 128        /* sample instants per EzoSsl_Run block  */
#define EZOSSL_MIC_NUM 4               /* interleaved channels per instant      */
#define EZOSSL_PAIR_NUM 3              /* pairs: microphone 0 with 1, 2 and 3   */
#define EZOSSL_DELAY_REJECTED (-32768) /* delay_sample value of a rejected pair */
#define EZOSSL_NO_DIRECTION (-10000)   /* direction when none could be solved   */

typedef struct SslInit {
    uint32_t point_number; /* must be 128 */
    uint32_t sample_rate;  /* 8000, 16000, 32000 or 48000 Hz */
    float mic_distance;    /* cm: linear spacing, or circular diameter */
    uint32_t bf_mode;      /* 0: delays and directions, 1: delays only */
    uint32_t mic_num;      /* must be 4 */
} SslInit;

typedef struct SslConfig {
    uint32_t temperature;        /* degrees Celsius */
    int32_t level_threshold_db;  /* -80..0 dB full scale, clamped */
    int32_t direction_frame_num; /* frames per voting period */
} SslConfig;

/* Status codes; the gaps in the numbering are intentional. */
#define SSL_RET_OK 0x00000000u
#define SSL_RET_INIT_ERROR 0x10000101u
#define SSL_RET_INVALID_CONFIG 0x10000102u
#define SSL_RET_INVALID_HANDLE 0x10000103u
#define SSL_RET_INVALID_SAMPLE_RATE 0x10000104u
#define SSL_RET_INVALID_POINT_NUMBER 0x10000105u
#define SSL_RET_INVALID_BF_MODE 0x10000106u
#define SSL_RET_DELAY_TOO_LARGE 0x10000107u
#define SSL_RET_CALL_ORDER_ERROR 0x10000108u
#define SSL_RET_RUN_STATE_ERROR 0x10000109u
#define SSL_RET_INVALID_MIC_NUMBER 0x10000110u
#define SSL_RET_INVALID_GEOMETRY 0x10000111u
#define SSL_RET_INVALID_ARRAY_POS 0x10000112u
#define SSL_RET_SIGNAL_TOO_WEAK 0x10000113u
#define SSL_RET_NO_DIRECTION 0x10000114u
#define SSL_RET_INVALID_MODE 0x10000115u
#define SSL_RET_MODE_NOT_INCLUDED 0x10000116u
#define SSL_RET_NULL_POINTER 0x10000118u
#define SSL_RET_INVALID_GAIN 0x10000119u

/* Size of the working buffer to allocate before EzoSsl_Init. */
EZOSSL_API uint32_t EzoSsl_GetBufferSize(void);

/* Accepted for compatibility; messages always go to standard output. */
EZOSSL_API uint32_t EzoSsl_SetCallbackFunction(uint32_t arg0, uint32_t arg1, uint32_t arg2,
                                               uint32_t arg3);

/* Initialise (or re-initialise) a working buffer; returns it as the handle, or NULL. */
EZOSSL_API SslHandle* EzoSsl_Init(void* working_buffer, const SslInit* ssl_init);
EZOSSL_API SslHandle* EzoSsl_Reset(void* working_buffer, const SslInit* ssl_init);

EZOSSL_API uint32_t EzoSsl_Config(SslHandle* handle, const SslConfig* ssl_config);
EZOSSL_API uint32_t EzoSsl_Get_Config(SslHandle* handle, SslConfig* ssl_config);

/* array_geometry 0: uniform linear array, 1: uniform circular array. */
EZOSSL_API uint32_t EzoSsl_Set_Shape(SslHandle* handle, uint32_t array_geometry);
/* array_pos: x0, y0, x1, y1, x2, y2, x3, y3 in cm, microphones in channel order. */
EZOSSL_API uint32_t EzoSsl_Set_ArbitraryShape(SslHandle* handle, const float* array_pos);
EZOSSL_API uint32_t EzoSsl_Cal_Params(SslHandle* handle);

/* microphone_input: 128 instants x 4 channels, interleaved (index 4*n + c).
 * delay_sample: three delays in samples, one per pair. */
EZOSSL_API uint32_t EzoSsl_Run(SslHandle* handle, const int16_t* microphone_input,
                               int32_t* delay_sample);
/* Direction in whole degrees, or EZOSSL_NO_DIRECTION. */
EZOSSL_API uint32_t EzoSsl_Get_Direction(SslHandle* handle, int32_t* direction_avg_int);
EZOSSL_API uint32_t EzoSsl_Reset_Mapping(SslHandle* handle);

/* Releases what the library set up inside the buffer; the caller frees the buffer. */
EZOSSL_API uint32_t EzoSsl_Free(SslHandle* handle);

EZOSSL_API uint32_t EzoSsl_SetMode(SslHandle* handle, uint32_t mode, uint32_t angular_distance,
                                   uint32_t convidence);
/* Scales one 512-sample block in place by gain dB (-120..120). */
EZOSSL_API uint32_t EzoSsl_ApplyDigitalGain(SslHandle* handle, int16_t* microphone_input,
                                            int32_t gain);

EZOSSL_API uint32_t EzoSsl_GetAPIVersion(uint16_t* major, uint16_t* minor);

#ifdef __cplusplus
}
#endif

#endif /* EZOSSL_H */
