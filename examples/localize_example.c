/* A complete application in C99: a 10 cm circular array at 48 kHz hears noise from the +x side
 * (reported as -90 degrees) and prints one direction per voting period. */
#include <ezossl.h>
#include <stdio.h>
#include <stdlib.h>

#define FRAMES_PER_VOTE 32
#define PERIODS 4

/* Whole-sample arrival advance of each microphone for a source on the +x axis: microphone 2
 * at (+5 cm, 0) hears it 0.05 m / 346 m/s * 48 kHz = 7 samples before the centre, microphone 0
 * 7 samples after, microphones 1 and 3 (on the y axis) with the centre. */
static const int kAdvance[EZOSSL_MIC_NUM] = {-7, 0, 7, 0};

static int16_t Noise(unsigned long index) {
    unsigned long x = index * 2654435761UL + 12345UL;
    x ^= x >> 13;
    x *= 0x5bd1e995UL;
    x ^= x >> 15;
    return (int16_t)((long)(x % 16001UL) - 8000L);
}

/* Block number `block` of the scene: 128 instants x 4 interleaved channels. */
static void MakeBlock(unsigned long block, int16_t* samples) {
    int n, c;
    for (n = 0; n < EZOSSL_POINT_NUMBER; ++n) {
        for (c = 0; c < EZOSSL_MIC_NUM; ++c) {
            const unsigned long t = block * EZOSSL_POINT_NUMBER + (unsigned long)n + 100UL;
            samples[EZOSSL_MIC_NUM * n + c] = Noise(t + (unsigned long)(long)kAdvance[c]);
        }
    }
}

/* Planar directions run from -90 to 269: -91 is reported as 269, so compare on the circle. */
static long AngleDistance(long a, long b) {
    const long d = ((a - b) % 360 + 360) % 360;
    return d > 180 ? 360 - d : d;
}

int main(void) {
    const SslInit init = {EZOSSL_POINT_NUMBER, 48000, 10.0f, 0, EZOSSL_MIC_NUM};
    const SslConfig config = {25, -60, FRAMES_PER_VOTE};
    int16_t block[EZOSSL_POINT_NUMBER * EZOSSL_MIC_NUM];
    int32_t delays[EZOSSL_PAIR_NUM];
    unsigned long frame = 0;
    int period, f, good = 0;
    void* buffer = malloc(EzoSsl_GetBufferSize());
    SslHandle* ssl = EzoSsl_Init(buffer, &init);

    if (!ssl || EzoSsl_Config(ssl, &config) != SSL_RET_OK || EzoSsl_Set_Shape(ssl, 1) != SSL_RET_OK ||
        EzoSsl_Cal_Params(ssl) != SSL_RET_OK) {
        fprintf(stderr, "set-up failed\n");
        free(buffer);
        return EXIT_FAILURE;
    }
    for (period = 0; period < PERIODS; ++period) {
        int32_t degrees = EZOSSL_NO_DIRECTION;
        uint32_t status;
        for (f = 0; f < FRAMES_PER_VOTE; ++f) {
            MakeBlock(frame++, block);
            EzoSsl_Run(ssl, block, delays);
        }
        status = EzoSsl_Get_Direction(ssl, &degrees);
        printf("period %d: status 0x%08lx, direction %ld degrees\n", period, (unsigned long)status, (long)degrees);
        good += status == SSL_RET_OK && AngleDistance(degrees, -90) <= 10;
        EzoSsl_Reset_Mapping(ssl);
    }
    EzoSsl_Free(ssl);
    free(buffer);
    return good == PERIODS ? EXIT_SUCCESS : EXIT_FAILURE;
}
