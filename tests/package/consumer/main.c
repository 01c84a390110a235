/* Minimal application: sizes, initialises and frees a handle of each library through the
 * installed headers. */
#include <ezossl.h>
#include <ezossl_srp.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
    SslInit init = {EZOSSL_POINT_NUMBER, 16000, 5.0f, 0, EZOSSL_MIC_NUM};
    EzoSslSrpSetup setup = {16000, {-2.5f, 0, 0, 2.5f, 2.5f, 0, 0, -2.5f}, 25.0f, 32, 0, 0, -60.0f};
    uint32_t status = 1;
    void* buffer = malloc(EzoSsl_GetBufferSize());
    void* srp_buffer = malloc(EzoSslSrp_GetBufferSize());
    SslHandle* handle = EzoSsl_Init(buffer, &init);
    int ok = handle != NULL && EzoSsl_Free(handle) == SSL_RET_OK;
    ok = ok && EzoSslSrp_Init(srp_buffer, &setup, &status) != NULL && status == EZOSSL_SRP_RET_OK;
    free(buffer);
    free(srp_buffer);
    puts(ok ? "consumer: ok" : "consumer: FAILED");
    return ok ? 0 : 1;
}
