/*
 * What every demo does the same way: reading the administrator's name and
 * password, logging in and out around the demo itself, and reporting a
 * failed call. Each demo includes this once, above its own code.
 */
#ifndef XO_EXAMPLES_DEMO_COMMON_H
#define XO_EXAMPLES_DEMO_COMMON_H

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "XoPolicyApi.h"

/* Reports a failed call; returns nonzero when the call failed. */
static int failed(const char* what, const char* name, int32_t result) {
  if (result == XO_OK) return 0;
  fprintf(stderr, "Could not %s %s: result code %d\n", what, name, (int)result);
  return 1;
}

/* Writes a text into a record field, cut to fit. */
static void put(char* field, const char* text) { snprintf(field, XO_TEXT_FIELD, "%s", text); }

static const char* argument_or_env(int argc, char** argv, int index, const char* variable) {
  if (argc > index) return argv[index];
  return getenv(variable);
}

/*
 * The whole of a demo's main: takes the administrator and password from
 * argv (else XO_ADMIN and XO_PASSWORD), logs in, runs the demo and logs out,
 * then prints `goodbye`. Returns the exit status: 2 for a usage error, 1 when
 * logging in or out fails, otherwise what the demo returned.
 */
static int run_logged_in(int argc, char** argv, int (*demo)(PolicyApiSession* session),
                         const char* goodbye) {
  const char* admin = argument_or_env(argc, argv, 1, "XO_ADMIN");
  const char* password = argument_or_env(argc, argv, 2, "XO_PASSWORD");
  if (admin == NULL || password == NULL) {
    fprintf(stderr,
            "usage: %s [ADMIN [PASSWORD]]\n"
            "Give the administrator and password as arguments or in XO_ADMIN and XO_PASSWORD.\n",
            argv[0]);
    return 2;
  }

  PolicyApiSession* session = NULL;
  int32_t result = Xo_PolicyApi_Login(&session, NULL, admin, password, "localhost", "", 0);
  if (result != XO_OK) {
    fprintf(stderr, "Could not log in as %s: result code %d\n", admin, (int)result);
    if (session != NULL) Xo_PolicyApi_Logout(session);
    return 1;
  }
  printf("Logged in as %s.\n", admin);

  int status = demo(session);

  if (failed("log out", admin, Xo_PolicyApi_Logout(session))) return 1;
  fputs(goodbye, stdout);
  return status;
}

#endif
