/* Sizes, initialises, configures and releases a handle: the first steps of every application. */
#include <ezossl.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
    const SslInit init = {EZOSSL_POINT_NUMBER, 16000, 6.5f, 0, EZOSSL_MIC_NUM};
    const SslConfig config = {25, -60, 32};
    SslConfig read_back;
    void* buffer = malloc(EzoSsl_GetBufferSize());
    SslHandle* handle = EzoSsl_Init(buffer, &init);
    int ok = handle != NULL;

    ok = ok && EzoSsl_Config(handle, &config) == SSL_RET_OK;
    ok = ok && EzoSsl_Get_Config(handle, &read_back) == SSL_RET_OK && read_back.level_threshold_db == -60;
    ok = ok && EzoSsl_Free(handle) == SSL_RET_OK;
    free(buffer);
    printf("example: %s\n", ok ? "ok" : "FAILED");
    return ok ? EXIT_SUCCESS : EXIT_FAILURE;
}
