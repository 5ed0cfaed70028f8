/* Creates an instance, registers every operator given on the command line, and converts one frame. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tamix/kernels.h"
#include "tamix/tamix.h"

static int failed(const char* what, int32_t status) {
  fprintf(stderr, "%s: status %d\n", what, (int)status);
  return EXIT_FAILURE;
}

int main(int argc, char** argv) {
  TamixConfig config;
  TamixParams params;
  TamixHandle handle = NULL;
  uint8_t luma[4] = {16, 128, 128, 16};
  uint8_t chroma[2] = {128, 128};
  uint8_t rgb[12];
  const uint8_t expected[12] = {0, 0, 0, 130, 130, 130, 130, 130, 130, 0, 0, 0};
  int i;
  int32_t status;

  initTamixConfig(&config);
  config.perf_level = -1;
  status = initTamix(&handle, &config);
  if (status != TAMIX_OK) return failed("initTamix", status);
  for (i = 1; i < argc; ++i) {
    status = registTamixOperator(handle, atoi(argv[i]));
    if (status != TAMIX_OK) return failed(argv[i], status);
  }
  status = registTamixOperator(handle, TAMIX_OP_YUV_TO_COLOR);
  if (status != TAMIX_OK) return failed("TAMIX_OP_YUV_TO_COLOR", status);

  initTamixParams(&params);
  params.input[0].format = Tamix_NV21;
  params.input[0].type = Tamix_UINT8;
  params.input[0].width = 2;
  params.input[0].height = 2;
  params.input[0].data[0] = luma;
  params.input[0].data[1] = chroma;
  params.output[0] = params.input[0];
  params.output[0].format = Tamix_RGB;
  params.output[0].data[0] = rgb;
  status = runTamix(handle, TAMIX_OP_YUV_TO_COLOR, &params);
  if (status != TAMIX_OK) return failed("runTamix", status);
  if (memcmp(rgb, expected, sizeof(rgb)) != 0) return failed("unexpected pixels", 0);
  status = NV21ToRGBCPUUINT8(luma, chroma, rgb, 2, 2, 2, 2);
  if (status != TAMIX_OK || memcmp(rgb, expected, sizeof(rgb)) != 0) return failed("NV21ToRGBCPUUINT8", status);
  return releaseTamix(&handle) == TAMIX_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}
