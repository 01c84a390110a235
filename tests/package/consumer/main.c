/* Minimal application: sizes, initialises and frees a handle through the installed header. */
#include <ezossl.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
    SslInit init = {EZOSSL_POINT_NUMBER, 16000, 5.0f, 0, EZOSSL_MIC_NUM};
    void* buffer = malloc(EzoSsl_GetBufferSize());
    SslHandle* handle = EzoSsl_Init(buffer, &init);
    int ok = handle != NULL && EzoSsl_Free(handle) == SSL_RET_OK;
    free(buffer);
    puts(ok ? "consumer: ok" : "consumer: FAILED");
    return ok ? 0 : 1;
}
