/*
 * Every export is __stdcall: the function, not its caller, takes its
 * arguments off the stack. Calls a one-argument export with nothing of the
 * compiler's in between and measures the stack before and after.
 */
#include <stdint.h>
#include <stdio.h>
#include <windows.h>

static int callee_pops_its_argument(void* function) {
  uintptr_t left = 0;
  __asm__ volatile(
      "mov %%esp, %%esi\n\t"
      "pushl $0\n\t"
      "call *%1\n\t"
      "sub %%esp, %%esi\n\t"
      "add %%esi, %%esp\n\t"
      : "=&S"(left)
      : "r"(function)
      : "eax", "ecx", "edx", "memory", "cc");
  return left == 0;
}

int main(void) {
  static const char* const kOneArgument[] = {"Xo_PolicyApi_Logout", "Xo_PolicyApi_FreeMemory",
                                             "Xo_PolicyApi_FreeStringArray"};
  HMODULE dll = LoadLibraryA("XoPolicyApi.dll");
  if (dll == NULL) return fprintf(stderr, "cannot load XoPolicyApi.dll\n"), 1;
  int failures = 0;
  for (int i = 0; i < 3; ++i) {
    void* function = (void*)GetProcAddress(dll, kOneArgument[i]);
    if (function == NULL || !callee_pops_its_argument(function)) {
      fprintf(stderr, "%s does not take its argument off the stack\n", kOneArgument[i]);
      ++failures;
    }
  }
  return failures == 0 ? 0 : 1;
}
