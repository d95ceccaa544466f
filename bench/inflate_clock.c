/* How much of a program's time is inflating: stands before libdeflate, and says at the end what its
 * calls took.
 *
 *   gcc -O2 -shared -fPIC bench/inflate_clock.c -o inflate_clock.so
 *   LD_PRELOAD=./inflate_clock.so COMMAND
 *
 * Printed to standard error: blocks, bytes that came of them, and seconds of processor time for
 * inflating and for checksums. The clock itself takes less than a microsecond of each call. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <time.h>

typedef int inflate_ex(void*, const void*, size_t, void*, size_t, size_t*, size_t*);
typedef uint32_t checksum(uint32_t, const void*, size_t);

static size_t blocks, bytes;
static double inflating, summing;

static double now(void) {
  struct timespec time;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return (double)time.tv_sec + (double)time.tv_nsec / 1e9;
}

/* Also where libdeflate was loaded for one library alone. */
static void* behind(const char* name) {
  void* const found = dlsym(RTLD_NEXT, name);
  return found != NULL ? found : dlsym(dlopen("libdeflate.so.0", RTLD_NOW), name);
}

/* The function without _ex comes here, too. */
int libdeflate_deflate_decompress_ex(void* state, const void* in, size_t in_size, void* out,
                                     size_t out_size, size_t* used, size_t* made) {
  static inflate_ex* real;
  if (real == NULL) real = (inflate_ex*)behind("libdeflate_deflate_decompress_ex");
  const double begin = now();
  const int result = real(state, in, in_size, out, out_size, used, made);
  inflating += now() - begin;
  ++blocks;
  bytes += made != NULL ? *made : out_size;
  return result;
}

uint32_t libdeflate_crc32(uint32_t sum, const void* data, size_t size) {
  static checksum* real;
  if (real == NULL) real = (checksum*)behind("libdeflate_crc32");
  const double begin = now();
  const uint32_t result = real(sum, data, size);
  summing += now() - begin;
  return result;
}

__attribute__((destructor)) static void report(void) {
  fprintf(stderr, "%zu blocks, %zu bytes, %.4f s inflating, %.4f s checksums\n", blocks, bytes,
          inflating, summing);
}
