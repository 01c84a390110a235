/* Live directions from a four-microphone board in C99: ALSA capture in blocks of 128 frames,
 * the library's voting loop, one printed direction per voting period, until Ctrl-C.
 *
 *   alsa_listen [DEVICE [RATE [DIAMETER_CM]]]      e.g. alsa_listen plughw:1,0 16000 6.5
 *
 * DEVICE delivers the four microphones as channels 1-4 in the library's order (arecord -L
 * lists devices; a plughw: device converts formats and rates the board lacks). The array is
 * a uniform circle of DIAMETER_CM. Build: cc -std=c99 alsa_listen.c -lezossl -lasound */
#define _POSIX_C_SOURCE 200809L
#include <alsa/asoundlib.h>
#include <ezossl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define FRAMES_PER_VOTE 32   /* 0.256 s at 16 kHz */
#define LATENCY_US 200000u   /* capture buffer: room for a busy system, short enough to be live */

static volatile sig_atomic_t stop_requested = 0;

static void RequestStop(int signal_number) {
    (void)signal_number;
    stop_requested = 1;
}

/* Interleaved 16-bit capture of four channels at exactly `rate`, or NULL with the reason printed. */
static snd_pcm_t* OpenCapture(const char* device, unsigned rate) {
    snd_pcm_t* pcm = NULL;
    int error = snd_pcm_open(&pcm, device, SND_PCM_STREAM_CAPTURE, 0);
    if (error < 0) {
        fprintf(stderr, "cannot open %s: %s (arecord -L lists the devices)\n", device, snd_strerror(error));
        return NULL;
    }
    error = snd_pcm_set_params(pcm, SND_PCM_FORMAT_S16_LE, SND_PCM_ACCESS_RW_INTERLEAVED, EZOSSL_MIC_NUM, rate,
                               0 /* no resampling */, LATENCY_US);
    if (error < 0) {
        fprintf(stderr, "%s cannot give 4 channels of S16_LE at %u Hz: %s (try a plughw: device)\n", device, rate,
                snd_strerror(error));
        snd_pcm_close(pcm);
        return NULL;
    }
    return pcm;
}

/* Fills one block of 128 frames. An overrun lost samples: recover, count it and go on.
 * Returns 0 when Ctrl-C arrived or the device failed. */
static int ReadBlock(snd_pcm_t* pcm, int16_t* block, unsigned long* overruns) {
    snd_pcm_uframes_t got = 0;
    while (got < EZOSSL_POINT_NUMBER && !stop_requested) {
        snd_pcm_sframes_t n = snd_pcm_readi(pcm, block + got * EZOSSL_MIC_NUM, EZOSSL_POINT_NUMBER - got);
        if (n == -EPIPE) {
            ++*overruns;
            n = snd_pcm_recover(pcm, (int)n, 1);
        } else if (n == -EINTR) {
            n = 0;
        }
        if (n < 0) {
            fprintf(stderr, "capture failed: %s\n", snd_strerror((int)n));
            return 0;
        }
        got += (snd_pcm_uframes_t)n;
    }
    return got == EZOSSL_POINT_NUMBER;
}

int main(int argc, char** argv) {
    const char* device = argc > 1 ? argv[1] : "default";
    const unsigned rate = argc > 2 ? (unsigned)strtoul(argv[2], NULL, 10) : 16000u;
    const float diameter_cm = argc > 3 ? strtof(argv[3], NULL) : 6.5f;
    SslInit init = {EZOSSL_POINT_NUMBER, 0, 0.0f, 0 /* directions */, EZOSSL_MIC_NUM};
    const SslConfig config = {25 /* deg C */, -60 /* dB */, FRAMES_PER_VOTE};
    static int16_t block[EZOSSL_POINT_NUMBER * EZOSSL_MIC_NUM];
    int32_t delays[EZOSSL_PAIR_NUM];
    unsigned long period, overruns = 0;
    struct sigaction action;
    void* buffer;
    SslHandle* ssl;
    snd_pcm_t* pcm;

    init.sample_rate = rate;
    init.mic_distance = diameter_cm;
    buffer = malloc(EzoSsl_GetBufferSize());   /* the buffer is the whole instance */
    ssl = buffer ? EzoSsl_Init(buffer, &init) : NULL;
    if (!ssl || EzoSsl_Config(ssl, &config) != SSL_RET_OK || EzoSsl_Set_Shape(ssl, 1 /* circle */) != SSL_RET_OK ||
        EzoSsl_Cal_Params(ssl) != SSL_RET_OK) {
        fprintf(stderr, "the library refused the set-up (see its message above)\n");
        return 1;
    }
    pcm = OpenCapture(device, rate);
    if (!pcm) return 1;

    /* No SA_RESTART: Ctrl-C must interrupt a read that waits for the device. */
    memset(&action, 0, sizeof action);
    action.sa_handler = RequestStop;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, NULL);
    sigaction(SIGTERM, &action, NULL);

    for (period = 0; !stop_requested; ++period) {
        int32_t degrees = EZOSSL_NO_DIRECTION;
        uint32_t status;
        int frames = 0;
        while (frames < FRAMES_PER_VOTE && ReadBlock(pcm, block, &overruns)) {
            EzoSsl_Run(ssl, block, delays);
            ++frames;
        }
        if (frames == 0) break;
        status = EzoSsl_Get_Direction(ssl, &degrees);   /* a short last period still votes */
        if (status == SSL_RET_OK) {
            printf("%9.3f s  %4d deg\n", (double)period * FRAMES_PER_VOTE * EZOSSL_POINT_NUMBER / rate, (int)degrees);
        } else {
            printf("%9.3f s  no direction (status 0x%08X)\n",
                   (double)period * FRAMES_PER_VOTE * EZOSSL_POINT_NUMBER / rate, (unsigned)status);
        }
        fflush(stdout);
        EzoSsl_Reset_Mapping(ssl);   /* opens the next period */
    }
    fprintf(stderr, "%lu periods, %lu overruns\n", period, overruns);
    snd_pcm_close(pcm);
    EzoSsl_Free(ssl);
    free(buffer);
    return 0;
}
