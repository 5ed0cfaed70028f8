/** @file
 * Tamix Camera: classic image operators for camera applications. Public records, enumerations and entry points.
 *
 * A caller creates an instance (initTamixConfig, initTamix), registers the operators it wants (registTamixOperator), and
 * runs them as often as it likes (initTamixParams, fill in images and settings, runTamix). Plain C99 and C++11.
 *
 * Records use natural alignment, little endian, 64-bit pointers. Fields called reserved are set by the init functions and
 * read by nothing.
 *
 * Memory: a plane of `rows` rows is (rows - 1) * pitch + row bytes long; the last row is never assumed to be padded, and row
 * padding is neither read nor written unless an operator says so. For any record whose pointers, where they are not null, point
 * to what the record declares, a call touches nothing outside, returns a status, and gives the same bytes on every processor
 * (but for a NaN's sign and payload where several NaN meet); what it leaves unwritten stays. Negative sizes that pass the
 * checks describe an empty image: nothing is read, nothing is written. Float planes and histograms begin at multiples of 4
 * bytes.
 */
#ifndef TAMIX_TAMIX_H_
#define TAMIX_TAMIX_H_

#include <stddef.h>
#include <stdint.h>

/** Marks what the library exports. */
#if defined(__GNUC__)
#define TAMIX_API __attribute__((visibility("default")))
#else
#define TAMIX_API
#endif

/** Enumerations have 32 bits and accept any value: records come from outside. */
#ifdef __cplusplus
#define TAMIX_ENUM(name) enum name : int32_t
#else
#define TAMIX_ENUM(name) \
  typedef int32_t name;  \
  enum
#endif

/** Status of every call. Failures are logged with one error line before they are returned. */
TAMIX_ENUM(TamixStatus){
    TAMIX_OK = 0,
    TAMIX_ERR_BAD_ARGUMENT = -1,      /**< a kernel was given an argument it does not handle; not logged */
    TAMIX_ERR_INVALID_CALL = -2,      /**< operator not registered, or entry point not implemented */
    TAMIX_ERR_UNSUPPORTED = -3,       /**< type, format, channel count, stride or shape not supported by the operator */
    TAMIX_ERR_NO_MEMORY = -4,         /**< a temporary buffer could not be allocated */
    TAMIX_ERR_ILLEGAL_RECT = -13,     /**< illegal rectangle, region or pair of shapes */
    TAMIX_ERR_ILLEGAL_SHAPE = -14,    /**< illegal shape, stride or channel count, such as an odd NV12 width */
    TAMIX_ERR_INVALID_IMAGE = -15,    /**< unused or empty image, null plane, size larger than stride */
    TAMIX_ERR_RUNTIME = -17,          /**< the runtime could not be created */
    TAMIX_ERR_INVALID_INSTANCE = -18, /**< the instance was not successfully initialised */
    TAMIX_ERR_CREATE_OPERATOR = -19,  /**< no runtime of the instance could create the operator */
    TAMIX_ERR_INVALID_ARGUMENT = 100, /**< bad argument of an entry point, or invalid settings of the normalization */
    TAMIX_ERR_INVALID_HANDLE = 101    /**< null handle, or the instance could not be allocated */
};

/** Element type of an image. 0 marks an image slot as unused. */
TAMIX_ENUM(TamixDataType){
    Tamix_UNUSED = 0, Tamix_UINT8 = 1, /**< unsigned 8-bit */
    Tamix_FLOAT32 = 8                  /**< IEEE 754 single precision */
};

/** Pixel format of an image. */
TAMIX_ENUM(TamixDataFormat){
    Tamix_BGR = 1,    /**< packed B, G, R */
    Tamix_RGB = 2,    /**< packed R, G, B */
    Tamix_BGRA = 4,   /**< packed B, G, R, A */
    Tamix_RGBA = 7,   /**< packed R, G, B, A */
    Tamix_I420 = 8,   /**< YUV 4:2:0, planes Y, U, V */
    Tamix_GRAY = 9,   /**< one channel */
    Tamix_NV12 = 17,  /**< YUV 4:2:0, plane Y and a plane of interleaved U, V pairs */
    Tamix_NV21 = 18,  /**< YUV 4:2:0, plane Y and a plane of interleaved V, U pairs */
    Tamix_LAB = 16385 /**< Lab image of the Lab conversions */
};

/** Device of a runtime. */
TAMIX_ENUM(TamixDeviceType){Tamix_ARM_CPU = 0};

/**
 * Operators, as registTamixOperator and runTamix take them.
 *
 * Packed rows: the affine warp, concatenation, fusion, the float mean filter, matrices, points, and the mask of
 * TAMIX_OP_BITWISE_NOT (input 1's plane) have rows one behind the other, whatever their strides say.
 * In place (output plane = input plane): arithmetic and bitwise operators of equal element sizes, conversions to and from HSV,
 * Lab and gray and from 4 channels to 3, flip, rotation by 180 degrees, filters, morphology, threshold, and point operations.
 * Element types: operators give the input's type and convert where the output declares the other one; those without a float
 * kernel refuse float inputs. Bytes that become floats in the output are written there first, into row padding too.
 * DataTypeConvert reads the input with the output's pitch.
 *
 * Refused with TAMIX_ERR_UNSUPPORTED: frames (I420, NV12, NV21) of more than one channel where pixels are packed (with
 * `channel` 1 they are their luma plane); I420 frames of which only one brings data[2]; outputs that declare fewer rows or
 * channels than the operator writes; unequal channel counts of arithmetic; bitwise masks (input 2) laid out unlike input 1;
 * padded rows of COUNT_NON_ZERO, COLOR_TO_HSV, NORMALIZATION, SPLIT, MERGE, and MEAN_STD with 3 channels; threshold rules 5 to
 * 7; a mean filter on images smaller than its window; a perspective warp by a matrix without inverse. A perspective warp of a
 * channel count that its interpolation does not serve (bilinear and bicubic: 1 and 3; nearest with a constant border: 1, 3 and
 * 4) logs an error, leaves the output alone and returns TAMIX_OK; a null border value stands for zeros there. Refused with
 * TAMIX_ERR_ILLEGAL_RECT: a fusion whose joined image does not fit the output, or whose band either image. The joined size is
 * written to the output's width and height.
 */
TAMIX_ENUM(TamixOperatorType){
    TAMIX_OP_DATA_TYPE_CONVERT = 0,
    TAMIX_OP_COUNT_NON_ZERO = 1,
    TAMIX_OP_CALC_HIST = 2,
    TAMIX_OP_GAUSSIAN_FILTER = 3,
    TAMIX_OP_MEAN_FILTER = 4,
    TAMIX_OP_LAPLACIAN_FILTER = 8,
    TAMIX_OP_MEAN_STD = 13,
    TAMIX_OP_NORMALIZATION = 14,
    TAMIX_OP_COPY_MAKE_BORDER = 15,
    TAMIX_OP_RESIZE_AREA = 17,
    TAMIX_OP_RESIZE_NEAREST = 18,
    TAMIX_OP_RESIZE_BILINEAR = 19,
    TAMIX_OP_COLOR_TO_HSV = 20,
    TAMIX_OP_COLOR_TO_GRAY = 21,
    TAMIX_OP_COLOR_TO_YUV = 22,
    TAMIX_OP_COLOR_TO_LAB = 23,
    TAMIX_OP_COLOR3_TO_COLOR4 = 24,
    TAMIX_OP_COLOR4_TO_COLOR3 = 25,
    TAMIX_OP_LAB_TO_COLOR = 26,
    TAMIX_OP_YUV_TO_COLOR = 27,
    TAMIX_OP_MULTIPLE = 29,
    TAMIX_OP_DIVIDE = 30,
    TAMIX_OP_SUBTRACT = 31,
    TAMIX_OP_ADD = 32,
    TAMIX_OP_BITWISE_AND = 36,
    TAMIX_OP_BITWISE_OR = 37,
    TAMIX_OP_BITWISE_XOR = 38,
    TAMIX_OP_BITWISE_NOT = 39,
    TAMIX_OP_CONVERT_SCALE_ABS = 40,
    TAMIX_OP_ERODE = 42,
    TAMIX_OP_DILATE = 43,
    TAMIX_OP_GET_STRUCTURING_ELEMENT = 44,
    TAMIX_OP_GET_PERSPECTIVE_TRANSFORM = 45,
    TAMIX_OP_MORPHOLOGY_EX = 46,
    TAMIX_OP_FLIP = 47,
    TAMIX_OP_SPLIT = 48,
    TAMIX_OP_MERGE = 49,
    TAMIX_OP_RECT_CUT = 50,
    TAMIX_OP_THRESHOLD = 51,
    TAMIX_OP_TRANSPOSE = 52,
    TAMIX_OP_ROTATE = 53,
    TAMIX_OP_CONCAT = 54,
    TAMIX_OP_WARP_AFFINE = 55,
    TAMIX_OP_WARP_PERSPECTIVE = 56,
    TAMIX_OP_GUIDED_FILTER = 57,
    TAMIX_OP_REMAP = 61,
    TAMIX_OP_IMAGE_FUSE_OVERLAP = 68,
};

/** Filling of pixels outside an image: `border_type` and `geom_border_type`. -1 asks for the operator's default. */
TAMIX_ENUM(TamixBorderType){
    TAMIX_BORDER_CONSTANT = 0, TAMIX_BORDER_REPLICATE = 1, /**< aaa|abcd|ddd */
    TAMIX_BORDER_REFLECT = 2,                              /**< cba|abcd|dcb */
    TAMIX_BORDER_WRAP = 3,                                 /**< bcd|abcd|abc */
    TAMIX_BORDER_REFLECT_101 = 4                           /**< dcb|abcd|cba */
};

/** Sampling of warps and remap: `interpolation`. */
TAMIX_ENUM(TamixInterpolation){
    TAMIX_INTERPOLATION_NEAREST = 0, TAMIX_INTERPOLATION_BILINEAR = 1, TAMIX_INTERPOLATION_BICUBIC = 2,
    TAMIX_INTERPOLATION_INVERSE_MAP = 16 /**< flag: the matrix already maps destination to source */
};

/** Structuring elements: `morph_shape`. */
TAMIX_ENUM(TamixMorphShape){TAMIX_MORPH_RECT = 0, TAMIX_MORPH_CROSS = 1, TAMIX_MORPH_ELLIPSE = 2};

/** Composite morphology: `morph_type`. */
TAMIX_ENUM(TamixMorphType){TAMIX_MORPH_ERODE = 0, TAMIX_MORPH_DILATE = 1, TAMIX_MORPH_OPEN = 2, TAMIX_MORPH_CLOSE = 3};

/** Threshold rules (s: source byte, t: threshold, m: maximum) and flags of the automatic methods: `thresh_type`. */
TAMIX_ENUM(TamixThresholdType){TAMIX_THRESH_BINARY = 0,     /**< s > t ? m : 0 */
                               TAMIX_THRESH_BINARY_INV = 1, /**< s > t ? 0 : m */
                               TAMIX_THRESH_TRUNC = 2,      /**< s > t ? t : s */
                               TAMIX_THRESH_TOZERO = 3,     /**< s > t ? s : 0 */
                               TAMIX_THRESH_TOZERO_INV = 4, /**< s > t ? 0 : s */
                               TAMIX_THRESH_OTSU = 8,       TAMIX_THRESH_TRIANGLE = 16};

/**
 * One image. An element is 1 byte (Tamix_UINT8) or 4 bytes (Tamix_FLOAT32). A packed image lives in data[0]: row y starts at
 * element y * width_stride * channel and holds width * channel elements. NV12 and NV21: data[0] is the luma plane, data[1]
 * the chroma plane of height / 2 rows of width / 2 two-byte pairs, both with a pitch of width_stride bytes; width and height
 * are even. I420: data[0], data[1], data[2] are the planes Y, U, V; the chroma planes have (height + 1) / 2 rows of
 * (width + 1) / 2 bytes with a pitch of width_stride / 2 bytes. Where data[2] is null, resizes, the affine warp and conversions
 * of the element type take data[1] as a plane of pairs like NV12's. Other formats are packed images of `channel` channels;
 * those of 19, 20 and 4352 to 8192 may bring a plane of pairs in data[1]. Conversions of colours take pixels of as many bytes
 * as their formats have channels (Lab: 3), whatever `channel` says; TAMIX_OP_COLOR_TO_HSV writes 3, TAMIX_OP_COLOR3_TO_COLOR4
 * takes 3 and writes 4, whatever the format says. A run fills in width_stride, height_stride and channel
 * where they are 0.
 */
typedef struct TamixImage {
  int32_t format; /**< TamixDataFormat */
  int32_t type;   /**< TamixDataType; 0: slot unused */
  int32_t reserved_0[3];
  int32_t width;         /**< pixels in a row */
  int32_t width_stride;  /**< pixels from a row to the next; 0: the same as width */
  int32_t height;        /**< rows */
  int32_t height_stride; /**< allocated rows, at least height; 0: the same as height */
  int32_t channel;       /**< interleaved channels of a pixel; 0: as the format says */
  void* data[3];         /**< planes */
  uint8_t reserved_1[8];
} TamixImage;

/** Images and settings of one run. Each operator reads its own settings only. Set up by initTamixParams. */
typedef struct TamixParams {
  TamixImage input[4];  /**< Images to read; each operator says which */
  TamixImage output[4]; /**< Images to write */
  int32_t op_mode;      /**< -1. Flip code, rotation or direction of a concatenation */
  int32_t reserved_0;
  uint8_t reserved_1[8];
  uint8_t reserved_2[8];
  int32_t border_params[4];       /**< 0. Border widths top, bottom, left, right; or rows [0, 1) and columns [2, 3) to cut */
  int32_t interpolation;          /**< -1. TamixInterpolation of warps and remap */
  int32_t geom_border_type;       /**< -1. TamixBorderType of border making, perspective warp and remap */
  int32_t geom_border_value;      /**< -1. Constant value of border making */
  uint8_t* geom_border_value_ptr; /**< null. A constant byte per channel for perspective warp and remap */
  uint32_t* nonzero_count;        /**< null. Receives the number of non-zero elements */
  uint64_t reserved_3[4];
  int32_t reserved_4[2];
  int32_t kernel_size;   /**< -1. Size of a square kernel of filters and morphology */
  int32_t kernel_height; /**< -1. Kernel rows */
  int32_t kernel_width;  /**< -1. Kernel columns */
  int32_t morph_shape;   /**< -1. TamixMorphShape */
  int32_t morph_type;    /**< -1. TamixMorphType */
  int32_t border_type;   /**< -1. TamixBorderType of filters and morphology */
  int32_t border_value;  /**< 0. Constant border value of filters and morphology */
  int32_t iterations;    /**< 1. Passes of erosion and dilation */
  int32_t reserved_5[2];
  int32_t abs_output; /**< 0. 1: the Laplacian writes absolute values */
  int32_t reserved_6[2];
  uint8_t reserved_7[20];
  double scale;    /**< 0. Scale of the Laplacian; sigma of the Gaussian */
  double delta;    /**< 0. Added after the Laplacian's scaling */
  uint8_t* kernel; /**< null. Structuring element, kernel_height * kernel_width bytes, non-zero: member */
  uint64_t reserved_8[2];
  void* anchor; /**< null. Must be null */
  uint64_t reserved_9;
  float* mean_out;  /**< null. Receives the mean of each channel */
  float* std_out;   /**< null. Receives the standard deviation of each channel */
  float mean_value; /**< 0. Mean of all channels where `mean` is null */
  float std_value;  /**< 0. Standard deviation of all channels where `std` is null */
  float* mean;      /**< null. Mean of each channel */
  float* std;       /**< null. Standard deviation of each channel */
  int32_t reorder;  /**< 0. Normalization: 0 interleaved, 1 planar output */
  int32_t reserved_10;
  uint64_t reserved_11;
  double affine_angle; /**< 0. Rotation of the affine warp, degrees */
  double affine_scale; /**< 1. Scale of the affine warp */
  int32_t reserved_12;
  uint8_t reserved_13[44];
  double abs_scale; /**< 0. Scale of the scaled absolute value */
  double offset;    /**< 0. Offset of the scaled absolute value */
  uint64_t reserved_14[2];
  int32_t reserved_15[2];
  int32_t hist_dims;        /**< 0. Dimensions of the histogram, 0 to 4 */
  int32_t hist_size[4];     /**< 0. Bins of each dimension. data[0] holds their product as 32-bit counts (or floats) */
  int32_t hist_channels[4]; /**< 0, 1, 2, 3. Channel of each dimension */
  int32_t hrange_max[4];    /**< 255. Upper end of each dimension's range */
  int32_t hrange_min[4];    /**< 0. Lower end of each dimension's range */
  int32_t reserved_16;
  double* thresh;      /**< null. Threshold; the automatic methods write theirs back */
  double maxval;       /**< -1. Value of the binary threshold rules */
  int32_t thresh_type; /**< -1. Threshold rule and automatic method */
  int32_t reserved_17;
  uint8_t reserved_18[32];
  uint8_t reserved_19[32];
  uint8_t reserved_20[24];
  uint8_t reserved_21[8];
  int32_t reserved_22[2];
  uint64_t reserved_23[5];
  int32_t fuse_overlap;   /**< 0. Width (or height) of the blended band, pixels */
  int32_t fuse_direction; /**< 0. 1: side by side; otherwise one below the other */
  uint8_t reserved_24[56];
  float* fuse_weights; /**< null. Share of input 1 in each column (or row) of the band */
  uint8_t reserved_25[48];
} TamixParams;

/** Configuration of an instance. Set up by initTamixConfig. */
typedef struct TamixConfig {
  int32_t runtime;       /**< 0. TamixDeviceType, below 7; a device without a runtime falls back to the CPU */
  int32_t perf_level;    /**< 2. -1 leaves the thread's affinity alone; 0 all cores, 1 little cores, 2 big cores */
  int32_t device_option; /**< 3 */
  int32_t log_level;     /**< 2. 0 to 5: errors are printed below 5, infos below 3, debug lines below 2 */
  int32_t reserved_0[2];
  int32_t use_intermediate_buffer; /**< 1 */
  int32_t num_threads;             /**< 2. Upper bound of the thread number; below 1: one, and no affinity is set */
  int32_t gpu_prior;               /**< 1. Below 3 */
  int32_t device_flag;             /**< 1 */
  void* device_handle;             /**< null */
  int32_t device_settings[24];     /**< Words for other devices than the CPU */
} TamixConfig;

/** An instance. One thread at a time may use it. */
typedef struct TamixInstance* TamixHandle;

#ifdef __cplusplus
#define TAMIX_ASSERT_LAYOUT(condition) static_assert(condition, #condition)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define TAMIX_ASSERT_LAYOUT(condition) _Static_assert(condition, #condition)
#else
#define TAMIX_ASSERT_LAYOUT(condition) extern int tamixLayoutHolds[(condition) ? 1 : -1]
#endif
#define TAMIX_ASSERT_SETTING(field, offset) TAMIX_ASSERT_LAYOUT(offsetof(TamixParams, field) == 576 + (offset))

TAMIX_ASSERT_LAYOUT(sizeof(TamixImage) == 72);
TAMIX_ASSERT_LAYOUT(offsetof(TamixImage, width) == 20);
TAMIX_ASSERT_LAYOUT(offsetof(TamixImage, data) == 40);
TAMIX_ASSERT_LAYOUT(sizeof(TamixParams) == 1336);
TAMIX_ASSERT_LAYOUT(offsetof(TamixParams, input) == 0);
TAMIX_ASSERT_LAYOUT(offsetof(TamixParams, output) == 288);
TAMIX_ASSERT_SETTING(op_mode, 0);
TAMIX_ASSERT_SETTING(border_params, 24);
TAMIX_ASSERT_SETTING(interpolation, 40);
TAMIX_ASSERT_SETTING(geom_border_value_ptr, 56);
TAMIX_ASSERT_SETTING(nonzero_count, 64);
TAMIX_ASSERT_SETTING(kernel_size, 112);
TAMIX_ASSERT_SETTING(border_type, 132);
TAMIX_ASSERT_SETTING(iterations, 140);
TAMIX_ASSERT_SETTING(abs_output, 152);
TAMIX_ASSERT_SETTING(scale, 184);
TAMIX_ASSERT_SETTING(kernel, 200);
TAMIX_ASSERT_SETTING(anchor, 224);
TAMIX_ASSERT_SETTING(mean_out, 240);
TAMIX_ASSERT_SETTING(mean, 264);
TAMIX_ASSERT_SETTING(reorder, 280);
TAMIX_ASSERT_SETTING(affine_angle, 296);
TAMIX_ASSERT_SETTING(abs_scale, 360);
TAMIX_ASSERT_SETTING(hist_dims, 400);
TAMIX_ASSERT_SETTING(hrange_min, 452);
TAMIX_ASSERT_SETTING(thresh, 472);
TAMIX_ASSERT_SETTING(thresh_type, 488);
TAMIX_ASSERT_SETTING(fuse_overlap, 640);
TAMIX_ASSERT_SETTING(fuse_weights, 704);
TAMIX_ASSERT_LAYOUT(sizeof(TamixConfig) == 144);
TAMIX_ASSERT_LAYOUT(offsetof(TamixConfig, device_handle) == 40);
TAMIX_ASSERT_LAYOUT(offsetof(TamixConfig, device_settings) == 48);

/** The name of a status, such as "TAMIX_ERR_UNSUPPORTED"; "unknown status" for other values. In the header only: not exported.
 */
static inline const char* tamix_status_name(int32_t status) {
  switch (status) {
    case TAMIX_OK:
      return "TAMIX_OK";
    case TAMIX_ERR_BAD_ARGUMENT:
      return "TAMIX_ERR_BAD_ARGUMENT";
    case TAMIX_ERR_INVALID_CALL:
      return "TAMIX_ERR_INVALID_CALL";
    case TAMIX_ERR_UNSUPPORTED:
      return "TAMIX_ERR_UNSUPPORTED";
    case TAMIX_ERR_NO_MEMORY:
      return "TAMIX_ERR_NO_MEMORY";
    case TAMIX_ERR_ILLEGAL_RECT:
      return "TAMIX_ERR_ILLEGAL_RECT";
    case TAMIX_ERR_ILLEGAL_SHAPE:
      return "TAMIX_ERR_ILLEGAL_SHAPE";
    case TAMIX_ERR_INVALID_IMAGE:
      return "TAMIX_ERR_INVALID_IMAGE";
    case TAMIX_ERR_RUNTIME:
      return "TAMIX_ERR_RUNTIME";
    case TAMIX_ERR_INVALID_INSTANCE:
      return "TAMIX_ERR_INVALID_INSTANCE";
    case TAMIX_ERR_CREATE_OPERATOR:
      return "TAMIX_ERR_CREATE_OPERATOR";
    case TAMIX_ERR_INVALID_ARGUMENT:
      return "TAMIX_ERR_INVALID_ARGUMENT";
    case TAMIX_ERR_INVALID_HANDLE:
      return "TAMIX_ERR_INVALID_HANDLE";
    default:
      return "unknown status";
  }
}

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Creates an instance. Sets the process-wide log level (clamped to 0..5) and, unless num_threads < 1 or perf_level is -1,
 * binds the calling thread to the cores of perf_level.
 * Returns TAMIX_ERR_INVALID_ARGUMENT for null pointers and fields out of range (*handle is then null),
 * TAMIX_ERR_INVALID_HANDLE without memory for the instance, TAMIX_ERR_RUNTIME without a runtime. In the last case *handle
 * is an invalid instance that releaseTamix takes.
 */
TAMIX_API int32_t initTamix(TamixHandle* handle, const TamixConfig* config);

/** Writes the defaults; words 1 and 19 of device_settings stay as they are. A null record is logged and ignored. */
TAMIX_API void initTamixConfig(TamixConfig* config);

/** Clears the record and writes the defaults: all image slots are unused. A null record is logged and ignored. */
TAMIX_API void initTamixParams(TamixParams* params);

/**
 * Makes an operator ready for runTamix. Returns TAMIX_ERR_INVALID_HANDLE (null handle), TAMIX_ERR_INVALID_INSTANCE,
 * TAMIX_ERR_INVALID_ARGUMENT (already registered), TAMIX_ERR_NO_MEMORY, or TAMIX_ERR_CREATE_OPERATOR (unknown operator); the
 * last one also drops every operator registered before.
 */
TAMIX_API int32_t registTamixOperator(TamixHandle handle, int32_t type);

/**
 * Runs a registered operator on the record and completes the record's channels and strides. Returns
 * TAMIX_ERR_INVALID_HANDLE, TAMIX_ERR_INVALID_INSTANCE, TAMIX_ERR_INVALID_ARGUMENT (null record), TAMIX_ERR_INVALID_CALL (not
 * registered), the status of the common image checks (TAMIX_ERR_INVALID_IMAGE, TAMIX_ERR_ILLEGAL_SHAPE), or the operator's.
 */
TAMIX_API int32_t runTamix(TamixHandle handle, int32_t type, TamixParams* params);

/**
 * Binds the calling thread to the cores of a power mode: -1 leaves it alone, 0 all cores, 1 little cores, 2 big cores, 3 big
 * cores but counted one less. Returns the thread number: at least 1, at most num_threads and the number of cores. With a
 * handle, operators registered later use it; an instance without a runtime is treated like a null handle.
 */
TAMIX_API int32_t setTamixCPUAffinity(TamixHandle handle, int32_t power_mode, int32_t num_threads);

/**
 * Memory that lives until releaseTamixMemory or releaseTamix. Modes 0 and 2 align to 16 bytes, mode 1 to 4096. Null for a
 * null handle, another mode, or without memory.
 */
TAMIX_API void* requestTamixMemory(TamixHandle handle, uint32_t size, int32_t mode);

/** Frees all memory handed out by requestTamixMemory, and the instance's scratch memory. */
TAMIX_API void releaseTamixMemory(TamixHandle handle);

/** Version and source revision of the library. */
TAMIX_API const char* getTamixVersion(void);

/**
 * Frees the instance with everything it owns and sets *handle to null. Returns TAMIX_ERR_INVALID_ARGUMENT for a null pointer,
 * TAMIX_ERR_INVALID_HANDLE for a null handle.
 */
TAMIX_API int32_t releaseTamix(TamixHandle* handle);

/** Not implemented: returns TAMIX_ERR_INVALID_CALL. */
TAMIX_API int32_t reservedTamixSetting(void);

#ifdef __cplusplus
}

/** Not implemented: returns TAMIX_ERR_INVALID_CALL. */
TAMIX_API int32_t shareTamixMemblocks(long count, void** blocks, void* block, long* sizes, long size);
#endif

#endif /* TAMIX_TAMIX_H_ */
