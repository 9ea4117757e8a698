/* A C99 program of the library's users: prints what gwconf_get_value gave for its argument. */
#include <gwconf/client.h>
#include <stdio.h>

int main(int argc, char** argv) {
  gwconf_client* client = NULL;
  char* value = NULL;
  int code = argc == 3 ? gwconf_open(argv[1], &client) : GWCONF_E_ARGUMENT;
  if (code == GWCONF_OK) code = gwconf_get_value(client, argv[2], &value);
  if (code == GWCONF_OK)
    printf("%s\n", value);
  else
    printf("%d %s\n", code, gwconf_strerror(code));
  gwconf_free(value);
  gwconf_close(client);
  return code == GWCONF_OK ? 0 : 1;
}
