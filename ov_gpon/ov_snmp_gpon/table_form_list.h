// Preprocessor helpers of the table descriptions: a macro applied to each tuple of an INDEX line.
//   OV_EACH(M, (a, b), (c, d))   M(a, b) M(c, d)
//   OV_LIST(M, (a, b), (c, d))   M(a, b), M(c, d)
// Up to 8 tuples, the most index columns a table has.
#pragma once

#define OV_JOIN_(a, b) a##b
#define OV_JOIN(a, b) OV_JOIN_(a, b)
#define OV_TEXT_OF_(a) #a
#define OV_TEXT_OF(a) OV_TEXT_OF_(a)

#define OV_FIRST(first, ...) first

#define OV_EACH(M, x, ...) M x __VA_OPT__(OV_EACH_7(M, __VA_ARGS__))
#define OV_EACH_7(M, x, ...) M x __VA_OPT__(OV_EACH_6(M, __VA_ARGS__))
#define OV_EACH_6(M, x, ...) M x __VA_OPT__(OV_EACH_5(M, __VA_ARGS__))
#define OV_EACH_5(M, x, ...) M x __VA_OPT__(OV_EACH_4(M, __VA_ARGS__))
#define OV_EACH_4(M, x, ...) M x __VA_OPT__(OV_EACH_3(M, __VA_ARGS__))
#define OV_EACH_3(M, x, ...) M x __VA_OPT__(OV_EACH_2(M, __VA_ARGS__))
#define OV_EACH_2(M, x, ...) M x __VA_OPT__(OV_EACH_1(M, __VA_ARGS__))
#define OV_EACH_1(M, x) M x

#define OV_LIST(M, x, ...) M x __VA_OPT__(, OV_LIST_7(M, __VA_ARGS__))
#define OV_LIST_7(M, x, ...) M x __VA_OPT__(, OV_LIST_6(M, __VA_ARGS__))
#define OV_LIST_6(M, x, ...) M x __VA_OPT__(, OV_LIST_5(M, __VA_ARGS__))
#define OV_LIST_5(M, x, ...) M x __VA_OPT__(, OV_LIST_4(M, __VA_ARGS__))
#define OV_LIST_4(M, x, ...) M x __VA_OPT__(, OV_LIST_3(M, __VA_ARGS__))
#define OV_LIST_3(M, x, ...) M x __VA_OPT__(, OV_LIST_2(M, __VA_ARGS__))
#define OV_LIST_2(M, x, ...) M x __VA_OPT__(, OV_LIST_1(M, __VA_ARGS__))
#define OV_LIST_1(M, x) M x
