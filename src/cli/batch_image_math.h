// The filter and arithmetic operations of svbatch image-op:
//   filter [--library FILE.FLT] [--name TEXT | --index N]
//   math1 --operation OP (--constant N | --rgb R,G,B) [--clip]
//   math2 --with IMAGE --operation OP [--divisor N] [--bias N] [--fade P] [--clip]
#pragma once

#include "cli/batch_image_op.h"

namespace sv::cli {

int ImageOpFilter(ImageOpContext& ctx);
int ImageOpMath1(ImageOpContext& ctx);
int ImageOpMath2(ImageOpContext& ctx);

constexpr const char* kImageOpFilterUsage = "[--library FILE.FLT] [--name TEXT | --index N]";
constexpr const char* kImageOpMath1Usage =
    "--operation OP (--constant N | --rgb R,G,B) [--clip]";
constexpr const char* kImageOpMath2Usage =
    "--with IMAGE --operation OP [--divisor N] [--bias N] [--fade P] [--clip]";

}  // namespace sv::cli
