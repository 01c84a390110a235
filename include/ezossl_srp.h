/* ezossl_srp: a direction every period from all six microphone pairs (SRP-PHAT), with a
 * confidence, for the same four-microphone arrays and audio blocks as ezossl.h. */
#ifndef EZOSSL_SRP_H
#define EZOSSL_SRP_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define EZOSSL_SRP_API __attribute__((visibility("default")))
#else
#define EZOSSL_SRP_API
#endif

/* The handle is the caller's working buffer (EzoSslSrp_GetBufferSize() bytes, aligned at
 * least to 4 bytes, as any malloc result is); it holds all state. The library allocates
 * nothing, takes no lock, does no I/O and prints nothing. */
typedef struct EzoSslSrp EzoSslSrp;

/* Status codes. Init, Process, GetDirection and Reset return them; GetDirection also stores
 * its answer's status in EzoSslSrpResult.status. */
#define EZOSSL_SRP_RET_OK 0x00000000u                  /* success; GetDirection: a direction   */
#define EZOSSL_SRP_RET_PERIOD_FULL 0x00000001u         /* Process: not an error; the period now holds
                                                          frames_per_period blocks, call GetDirection */
#define EZOSSL_SRP_RET_NULL_POINTER 0x10000201u        /* a null pointer argument, or a buffer not
                                                          aligned to 4 bytes                   */
#define EZOSSL_SRP_RET_INVALID_HANDLE 0x10000202u      /* not a handle returned by EzoSslSrp_Init */
#define EZOSSL_SRP_RET_INVALID_SAMPLE_RATE 0x10000203u /* not 8000, 16000, 32000 or 48000 Hz    */
#define EZOSSL_SRP_RET_INVALID_POSITIONS 0x10000204u   /* a coordinate is not finite            */
#define EZOSSL_SRP_RET_COINCIDENT_MICS 0x10000205u     /* two microphones at the same position  */
#define EZOSSL_SRP_RET_ARRAY_TOO_SMALL 0x10000206u     /* the widest pair shows less than one
                                                          sample of delay at this rate          */
#define EZOSSL_SRP_RET_ARRAY_TOO_LARGE 0x10000207u     /* the delays do not fit the buffer (pairs
                                                          of more than about 2 m at 48 kHz)     */
#define EZOSSL_SRP_RET_INVALID_BAND 0x10000208u        /* band not finite, outside 0..rate/2, or
                                                          holding no frequency bin              */
#define EZOSSL_SRP_RET_INVALID_FRAMES 0x10000209u      /* frames_per_period is 0                */
#define EZOSSL_SRP_RET_INVALID_TEMPERATURE 0x1000020Au /* not finite or outside -100..100 C     */
#define EZOSSL_SRP_RET_INVALID_THRESHOLD 0x1000020Bu   /* level_threshold_db not finite         */
#define EZOSSL_SRP_RET_SILENT 0x1000020Cu              /* GetDirection: the period's level was at
                                                          or below the threshold; no direction  */
#define EZOSSL_SRP_RET_NO_BLOCKS 0x1000020Du           /* GetDirection: no block since the last
                                                          period closed; no direction           */

#define EZOSSL_SRP_BLOCK_INSTANTS 128 /* sample instants per block, 4 channels each   */
#define EZOSSL_SRP_NO_DIRECTION (-10000.0f) /* direction_deg when there is none        */

typedef struct EzoSslSrpSetup {
    uint32_t sample_rate;     /* 8000, 16000, 32000 or 48000 Hz */
    float mic_pos_cm[8];      /* x0, y0, x1, y1, x2, y2, x3, y3 in cm; microphone i = channel i,
                                 any numbering, any planar layout, collinear ones included */
    float temperature_c;      /* speed of sound 331 + 0.6 * temperature_c m/s */
    uint32_t frames_per_period; /* blocks of 128 instants per period, at least 1 */
    float band_low_hz;        /* analysed band; both 0: the default 1000..7000 Hz (capped at  */
    float band_high_hz;       /* rate/2), chosen by measurement                              */
    float level_threshold_db; /* dBFS; a period at or below it is reported silent */
} EzoSslSrpSetup;

/* Direction convention (that of ezossl.h): a planar array reports -90 <= d < 270, 0 toward
 * +y, -90 toward +x, 90 toward -x, 180 toward -y, counter-clockwise. Four microphones on one
 * line (within 1 % of its length) cannot tell a direction from its mirror image across the
 * line and report -90..90: 0 broadside, -90 toward the end of the line with the larger x (the
 * larger y for a line parallel to y), 90 toward the other end; for a line along x this is the
 * planar direction folded into -90..90, exactly as ezossl.h reports a linear array.
 *
 * confidence: the steered response power at the reported direction divided by its largest
 * possible value, clipped to 0..1. Each frame adds, for each of the six pairs and each bin of
 * the band, the cross-spectrum whitened by its magnitude to the power 3/4 and weighted by the
 * power of the four microphones in that bin (for a collinear array: every bin by how far the
 * frame's band energy rises above the decaying mean of the recent frames', halved each frame).
 * When the period closes, each pair's sum in each bin is scaled by its coherence (its magnitude
 * over the sum of its terms' magnitudes); the steered power sums the real parts of these sums,
 * phase-aligned to the direction (less 0.3 times the part a diffuse field would add; for a
 * collinear array each pair weighted by the square of its span over the widest span), and its
 * largest possible value is the same weighted sum of their terms' magnitudes. 1 means every
 * pair, frequency and frame agrees with one plane wave from there; incoherent noise gives
 * values near 0 (below 0.1 for a period of 32 blocks).
 *
 * level_dbfs: 10 log10 of the period's mean square sample (all channels, full scale 1.0),
 * floored at -100. */
typedef struct EzoSslSrpResult {
    uint32_t status;     /* EZOSSL_SRP_RET_OK, _SILENT or _NO_BLOCKS */
    float direction_deg; /* or EZOSSL_SRP_NO_DIRECTION */
    float confidence;    /* 0..1; 0 without a direction */
    float level_dbfs;
    uint32_t blocks;     /* blocks in the closed period */
} EzoSslSrpResult;

/* Size of the working buffer (at most 64 KiB). */
EZOSSL_SRP_API uint32_t EzoSslSrp_GetBufferSize(void);

/* Checks the setup, builds every table inside the buffer and opens the first period; returns
 * the buffer as the handle, or NULL with *status saying why (NULL without a status if status
 * itself is NULL). Init may be called again on the same buffer. */
EZOSSL_SRP_API EzoSslSrp* EzoSslSrp_Init(void* buffer, const EzoSslSrpSetup* setup, uint32_t* status);

/* block: 128 instants x 4 channels of int16, interleaved (index 4*n + c), as for EzoSsl_Run.
 * Accumulates the open period. Returns EZOSSL_SRP_RET_OK, or EZOSSL_SRP_RET_PERIOD_FULL from
 * the block that completes frames_per_period on (further blocks still count). */
EZOSSL_SRP_API uint32_t EzoSslSrp_Process(EzoSslSrp* srp, const int16_t* block);

/* Closes the period, fills *result and opens the next one (the frame history is kept).
 * Returns result->status, or a refusal (then nothing is closed). */
EZOSSL_SRP_API uint32_t EzoSslSrp_GetDirection(EzoSslSrp* srp, EzoSslSrpResult* result);

/* Discards the open period and the frame history. */
EZOSSL_SRP_API uint32_t EzoSslSrp_Reset(EzoSslSrp* srp);

#ifdef __cplusplus
}
#endif

#endif /* EZOSSL_SRP_H */
