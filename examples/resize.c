/* An NV21 camera frame of 1920x1080 to an RGB picture of 640x360. */
#include <stdio.h>
#include <stdlib.h>
#include <tamix/tamix.h>

int main(void) {
  enum { kWidth = 1920, kHeight = 1080, kSmallWidth = 640, kSmallHeight = 360 };
  uint8_t* const frame = calloc(kWidth * kHeight * 3 / 2, 1); /* luma, then V, U pairs: here a dark green */
  uint8_t* const rgb = malloc(kSmallWidth * kSmallHeight * 3);
  TamixConfig config;
  TamixHandle handle;
  TamixParams params;
  if (frame == NULL || rgb == NULL) return 1;

  initTamixConfig(&config);
  config.perf_level = -1; /* leave this thread on the cores it runs on */
  config.log_level = 3;   /* errors only */
  if (initTamix(&handle, &config) != TAMIX_OK) return 1;
  registTamixOperator(handle, TAMIX_OP_RESIZE_BILINEAR);

  initTamixParams(&params);
  params.input[0] = (TamixImage){.format = Tamix_NV21, .type = Tamix_UINT8, .width = kWidth, .height = kHeight};
  params.input[0].data[0] = frame;
  params.input[0].data[1] = frame + kWidth * kHeight;
  params.output[0] = (TamixImage){.format = Tamix_RGB, .type = Tamix_UINT8, .width = kSmallWidth, .height = kSmallHeight};
  params.output[0].data[0] = rgb;
  const int32_t status = runTamix(handle, TAMIX_OP_RESIZE_BILINEAR, &params);
  printf("%s: the first pixel is %d, %d, %d\n", tamix_status_name(status), rgb[0], rgb[1], rgb[2]);

  releaseTamix(&handle);
  free(frame);
  free(rgb);
  return status == TAMIX_OK ? 0 : 1;
}
