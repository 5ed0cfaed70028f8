// The kernels that operators call. Every operator copies its own from here when it is created.
#pragma once

#include <cstddef>

#include "inference/runtime/cpu/arm/fp32/convertscaleabs_cpu_fp32.h"
#include "inference/runtime/cpu/arm/fp32/getperspectivetrans_cpu_fp32.h"
#include "inference/runtime/cpu/arm/fp32/meanfilter_cpu_fp32.h"
#include "inference/runtime/cpu/arm/fp32/normalization_cpu_fp32.h"
#include "inference/runtime/cpu/arm/fp32/rectcut_cpu_fp32.h"
#include "inference/runtime/cpu/arm/fp32/resizearea_cpu_fp32.h"
#include "inference/runtime/cpu/arm/fp32/resizebilinear_cpu_fp32.h"
#include "inference/runtime/cpu/arm/fp32/split_cpu_fp32.h"
#include "inference/runtime/cpu/arm/uint8/arithmetic_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/bitwise_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/bitwisenot_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/calchist_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/color3tocolor4_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/color4tocolor3_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/color4tohsv_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/colortogray_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/colortolab_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/concat_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/convertscaleabs_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/copymakeborder_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/countnonzero_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/erodedilate_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/flip_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/getstructuringelement_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/imagefuseoverlap_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/labtocolor_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/laplacianfilter_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/meanstd_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/merge_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/morphologyex_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/rectcut_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/remap_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/resizenearest_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/rotate_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/split_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/threshold_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/transpose_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/warpaffine_cpu_uint8.h"
#include "inference/runtime/cpu/arm/uint8/warpperspective_cpu_int8.h"
#include "tamix/kernels.h"

namespace tamix {

// Entry n is line n. A field has its kernel's own signature, so a wrong argument list does not compile.
// clang-format off
struct KernelTable {
  decltype(&::resizeAreaCPUUINT8) resizeAreaCPUUINT8 = &::resizeAreaCPUUINT8;  // 0
  decltype(&::resizeBilinearCPUUINT8) resizeBilinearCPUUINT8 = &::resizeBilinearCPUUINT8;  // 1
  decltype(&::resizeBilinearNV21toRGBCPUUINT8) resizeBilinearNV21toRGBCPUUINT8 = &::resizeBilinearNV21toRGBCPUUINT8;  // 2
  decltype(&::resizeBilinearNV21toBGRCPUUINT8) resizeBilinearNV21toBGRCPUUINT8 = &::resizeBilinearNV21toBGRCPUUINT8;  // 3
  decltype(&tamix::resizeNearestCPUUINT8) resizeNearestCPUUINT8 = &tamix::resizeNearestCPUUINT8;  // 4
  decltype(&::RGBToNV12CPUUINT8) RGBToNV12CPUUINT8 = &::RGBToNV12CPUUINT8;  // 5
  decltype(&::BGRToNV12CPUUINT8) BGRToNV12CPUUINT8 = &::BGRToNV12CPUUINT8;  // 6
  decltype(&::RGBToNV21CPUUINT8) RGBToNV21CPUUINT8 = &::RGBToNV21CPUUINT8;  // 7
  decltype(&::BGRToNV21CPUUINT8) BGRToNV21CPUUINT8 = &::BGRToNV21CPUUINT8;  // 8
  decltype(&::NV21ToRGBCPUUINT8) NV21ToRGBCPUUINT8 = &::NV21ToRGBCPUUINT8;  // 9
  decltype(&::NV21ToBGRCPUUINT8) NV21ToBGRCPUUINT8 = &::NV21ToBGRCPUUINT8;  // 10
  decltype(&::NV12ToRGBCPUUINT8) NV12ToRGBCPUUINT8 = &::NV12ToRGBCPUUINT8;  // 11
  decltype(&::NV12ToBGRCPUUINT8) NV12ToBGRCPUUINT8 = &::NV12ToBGRCPUUINT8;  // 12
  decltype(&tamix::RGBAToHSVCPUUINT8) RGBAToHSVCPUUINT8 = &tamix::RGBAToHSVCPUUINT8;  // 13
  decltype(&tamix::BGRAToHSVCPUUINT8) BGRAToHSVCPUUINT8 = &tamix::BGRAToHSVCPUUINT8;  // 14
  decltype(&tamix::meanSTDCPUUINT8) meanSTDCPUUINT8 = &tamix::meanSTDCPUUINT8;  // 15
  decltype(&::guidedFilterCPUUINT8) guidedFilterCPUUINT8 = &::guidedFilterCPUUINT8;  // 16
  decltype(&tamix::mergeCPUUINT8) mergeCPUUINT8 = &tamix::mergeCPUUINT8;  // 17
  decltype(&tamix::splitCPUUINT8) splitCPUUINT8 = &tamix::splitCPUUINT8;  // 18
  decltype(&::meanFilterCPUUINT8) meanFilterCPUUINT8 = &::meanFilterCPUUINT8;  // 19
  decltype(&tamix::imageFuseOverlapCPUUINT8) imageFuseOverlapCPUUINT8 = &tamix::imageFuseOverlapCPUUINT8;  // 20
  decltype(&tamix::color3ToColor4CPUUINT8) color3ToColor4CPUUINT8 = &tamix::color3ToColor4CPUUINT8;  // 21
  decltype(&::I420ToRGBCPUUINT8) I420ToRGBCPUUINT8 = &::I420ToRGBCPUUINT8;  // 22
  decltype(&::I420ToBGRCPUUINT8) I420ToBGRCPUUINT8 = &::I420ToBGRCPUUINT8;  // 23
  decltype(&tamix::subtractCPUUINT8) subtractCPUUINT8 = &tamix::subtractCPUUINT8;  // 24
  decltype(&tamix::addCPUUINT8) addCPUUINT8 = &tamix::addCPUUINT8;  // 25
  decltype(&tamix::convertScaleAbsCPUUINT8) convertScaleAbsCPUUINT8 = &tamix::convertScaleAbsCPUUINT8;  // 26
  decltype(&::gaussianFilterCPUUINT8) gaussianFilterCPUUINT8 = &::gaussianFilterCPUUINT8;  // 27
  decltype(&tamix::laplacianFilterCPUUINT8) laplacianFilterCPUUINT8 = &tamix::laplacianFilterCPUUINT8;  // 28
  decltype(&tamix::calcHistCPUUINT8) calcHistCPUUINT8 = &tamix::calcHistCPUUINT8;  // 29
  decltype(&tamix::flipCPUUINT8) flipCPUUINT8 = &tamix::flipCPUUINT8;  // 30
  decltype(&tamix::transposeCPUUINT8) transposeCPUUINT8 = &tamix::transposeCPUUINT8;  // 31
  decltype(&tamix::countNonZeroCPUUINT8) countNonZeroCPUUINT8 = &tamix::countNonZeroCPUUINT8;  // 32
  decltype(&tamix::copyMakeBorderCPUUINT8) copyMakeBorderCPUUINT8 = &tamix::copyMakeBorderCPUUINT8;  // 33
  decltype(&tamix::RGBToLABCPUUINT8) RGBToLABCPUUINT8 = &tamix::RGBToLABCPUUINT8;  // 34
  decltype(&tamix::LABToRGBCPUUINT8) LABToRGBCPUUINT8 = &tamix::LABToRGBCPUUINT8;  // 35
  decltype(&tamix::color3ToGRAYCPUUINT8) color3ToGRAYCPUUINT8 = &tamix::color3ToGRAYCPUUINT8;  // 36
  decltype(&tamix::color4ToGRAYCPUUINT8) color4ToGRAYCPUUINT8 = &tamix::color4ToGRAYCPUUINT8;  // 37
  decltype(&tamix::warpAffineCPUUINT8) warpAffineCPUUINT8 = &tamix::warpAffineCPUUINT8;  // 38
  decltype(&tamix::rectCutCPUUINT8) rectCutCPUUINT8 = &tamix::rectCutCPUUINT8;  // 39
  decltype(&tamix::erodeCPUUINT8) erodeCPUUINT8 = &tamix::erodeCPUUINT8;  // 40
  decltype(&tamix::dilateCPUUINT8) dilateCPUUINT8 = &tamix::dilateCPUUINT8;  // 41
  decltype(&tamix::getStructuringElementCPUUINT8) getStructuringElementCPUUINT8 = &tamix::getStructuringElementCPUUINT8;  // 42
  decltype(&tamix::morphologyExCPUUINT8) morphologyExCPUUINT8 = &tamix::morphologyExCPUUINT8;  // 43
  decltype(&tamix::thresholdCPUUINT8) thresholdCPUUINT8 = &tamix::thresholdCPUUINT8;  // 44
  decltype(&tamix::remapCPUUINT8) remapCPUUINT8 = &tamix::remapCPUUINT8;  // 45
  decltype(&tamix::warpPerspectiveCPUUINT8) warpPerspectiveCPUUINT8 = &tamix::warpPerspectiveCPUUINT8;  // 46
  decltype(&tamix::rotateCPUUINT8) rotateCPUUINT8 = &tamix::rotateCPUUINT8;  // 47
  decltype(&tamix::color4ToColor3CPUUINT8) color4ToColor3CPUUINT8 = &tamix::color4ToColor3CPUUINT8;  // 48
  decltype(&tamix::vconcatCPUUINT8) vconcatCPUUINT8 = &tamix::vconcatCPUUINT8;  // 49
  decltype(&tamix::hconcatCPUUINT8) hconcatCPUUINT8 = &tamix::hconcatCPUUINT8;  // 50
  decltype(&tamix::bitwiseAndCPUUINT8) bitwiseAndCPUUINT8 = &tamix::bitwiseAndCPUUINT8;  // 51
  decltype(&tamix::bitwiseOrCPUUINT8) bitwiseOrCPUUINT8 = &tamix::bitwiseOrCPUUINT8;  // 52
  decltype(&tamix::bitwiseXorCPUUINT8) bitwiseXorCPUUINT8 = &tamix::bitwiseXorCPUUINT8;  // 53
  decltype(&tamix::bitwiseNotCPUUINT8) bitwiseNotCPUUINT8 = &tamix::bitwiseNotCPUUINT8;  // 54
  decltype(&tamix::resizeAreaCPUFLOAT32) resizeAreaCPUFLOAT32 = &tamix::resizeAreaCPUFLOAT32;  // 55
  decltype(&tamix::resizeBilinearCPUFLOAT32) resizeBilinearCPUFLOAT32 = &tamix::resizeBilinearCPUFLOAT32;  // 56
  const void* entry_57 = nullptr;  // 57
  decltype(&tamix::meanFilterCPUFLOAT32) meanFilterCPUFLOAT32 = &tamix::meanFilterCPUFLOAT32;  // 58
  decltype(&tamix::addCPUFLOAT32) addCPUFLOAT32 = &tamix::addCPUFLOAT32;  // 59
  decltype(&tamix::subtractCPUFLOAT32) subtractCPUFLOAT32 = &tamix::subtractCPUFLOAT32;  // 60
  decltype(&tamix::multipleCPUFLOAT32) multipleCPUFLOAT32 = &tamix::multipleCPUFLOAT32;  // 61
  decltype(&tamix::divideCPUFLOAT32) divideCPUFLOAT32 = &tamix::divideCPUFLOAT32;  // 62
  decltype(&tamix::addCPUUINT8toFLOAT32) addCPUUINT8toFLOAT32 = &tamix::addCPUUINT8toFLOAT32;  // 63
  decltype(&tamix::subtractCPUUINT8toFLOAT32) subtractCPUUINT8toFLOAT32 = &tamix::subtractCPUUINT8toFLOAT32;  // 64
  decltype(&tamix::multipleCPUUINT8toFLOAT32) multipleCPUUINT8toFLOAT32 = &tamix::multipleCPUUINT8toFLOAT32;  // 65
  decltype(&tamix::divideCPUUINT8toFLOAT32) divideCPUUINT8toFLOAT32 = &tamix::divideCPUUINT8toFLOAT32;  // 66
  decltype(&tamix::addCPUFLOAT32toUINT8) addCPUFLOAT32toUINT8 = &tamix::addCPUFLOAT32toUINT8;  // 67
  decltype(&tamix::subtractCPUFLOAT32toUINT8) subtractCPUFLOAT32toUINT8 = &tamix::subtractCPUFLOAT32toUINT8;  // 68
  decltype(&tamix::multipleCPUFLOAT32toUINT8) multipleCPUFLOAT32toUINT8 = &tamix::multipleCPUFLOAT32toUINT8;  // 69
  decltype(&tamix::divideCPUFLOAT32toUINT8) divideCPUFLOAT32toUINT8 = &tamix::divideCPUFLOAT32toUINT8;  // 70
  decltype(&tamix::convertScaleAbsCPUFLOAT32) convertScaleAbsCPUFLOAT32 = &tamix::convertScaleAbsCPUFLOAT32;  // 71
  decltype(&tamix::normalizationCPUFLOAT32) normalizationCPUFLOAT32 = &tamix::normalizationCPUFLOAT32;  // 72
  decltype(&tamix::rectCutCPUFLOAT32) rectCutCPUFLOAT32 = &tamix::rectCutCPUFLOAT32;  // 73
  decltype(&tamix::splitCPUFLOAT32) splitCPUFLOAT32 = &tamix::splitCPUFLOAT32;  // 74
  decltype(&tamix::getPerspectiveTransformCPUFLOAT32) getPerspectiveTransformCPUFLOAT32 = &tamix::getPerspectiveTransformCPUFLOAT32;  // 75
};
// clang-format on
static_assert(sizeof(KernelTable) == 76 * sizeof(void*));

// The one table of the process. Constant: it needs no initialisation and cannot change.
const KernelTable& kernelTable();

}  // namespace tamix
