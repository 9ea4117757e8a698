/*
 * libgwconf: requests to the configuration manager daemon of this machine.
 *
 * Every function that returns int returns one of two kinds of code, which never overlap:
 *   - what the daemon answered, unchanged: 0 done, or one of GWCONF_UNCHANGED .. GWCONF_INVALID;
 *   - GWCONF_E_*, from -1000 down to -1999, when no answer could be had. After GWCONF_E_CONNECT and
 *     GWCONF_E_SYSTEM errno tells the system's reason.
 * gwconf_strerror() puts either kind into words.
 *
 * Texts go in as const char *. Texts and lists that come out are the library's: they are handed
 * over when the code is 0 and given back with gwconf_free(); with every other code the pointer is
 * set to NULL.
 *
 * Each request has a connection of its own. A handle holds nothing but its settings, so any number
 * of threads may use one handle at a time; only gwconf_close() wants it alone. No signal is raised,
 * no handler is touched, every descriptor is closed on exec, and a handle works on after a fork.
 *
 * Paths: an object path ends with a dot, a parameter path does not. No text, its NUL included, may
 * be longer than GWCONF_TEXT_MAX; longer ones are refused before anything is sent.
 */
#ifndef GWCONF_CLIENT_H
#define GWCONF_CLIENT_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define GWCONF_API __attribute__((visibility("default")))
#else
#define GWCONF_API
#endif

/* Bytes of the longest text of a request, its NUL included. */
#define GWCONF_TEXT_MAX 32769
/* Bytes of all answers to one request; a daemon that sends more is not believed. */
#define GWCONF_ANSWER_MAX 67108864
/* The largest instance number that a request can carry. */
#define GWCONF_INSTANCE_MAX 99999
/* Milliseconds that a request may take unless gwconf_set_timeout() says otherwise. */
#define GWCONF_TIMEOUT_DEFAULT 60000

enum gwconf_code {
  /* What the daemon answered. */
  GWCONF_OK = 0,
  GWCONF_UNCHANGED = 1,     /* set value: the new value is the stored one */
  GWCONF_NOT_FOUND = 2,     /* no such object or parameter */
  GWCONF_UNUSABLE = 3,      /* an XML file could not be used */
  GWCONF_NO_MEMORY = 4,     /* the daemon is out of memory */
  GWCONF_EXISTS = 5,        /* the instance exists already */
  GWCONF_REFUSED = 7,       /* numbering impossible, or the object to move is disabled */
  GWCONF_CUT_FAILURE = 156, /* GWCONF_INVALID as commit, reset and restore report it */
  GWCONF_INVALID = -100,    /* invalid request, or a refusal without a code of its own */

  /* Why there is no answer. */
  GWCONF_E_ARGUMENT = -1000, /* missing, too long or out of range; nothing was sent */
  GWCONF_E_MEMORY = -1001,   /* this process is out of memory */
  GWCONF_E_CONNECT = -1002,  /* nobody listens at the socket, or we may not connect */
  GWCONF_E_TIMEOUT = -1003,  /* no result in time: busy, or the request was unreadable */
  GWCONF_E_CLOSED = -1004,   /* the daemon hung up before the result */
  GWCONF_E_PROTOCOL = -1005, /* no answer of this protocol, or it broke off inside */
  GWCONF_E_SYSTEM = -1006    /* a system call failed */
};

/* Bits of an attribute word, by number. */
enum gwconf_attribute {
  GWCONF_ATTRIBUTE_WRITABLE = 0, /* on an instance: a real one; clear: a virtual one */
  GWCONF_ATTRIBUTE_DISABLED = 1,
  GWCONF_ATTRIBUTE_USER_SET = 3,
  GWCONF_ATTRIBUTE_USER_SET_BELOW = 4,
  GWCONF_ATTRIBUTE_NOTIFY_OFF = 5,
  GWCONF_ATTRIBUTE_NOTIFY_PASSIVE = 6,
  GWCONF_ATTRIBUTE_NOTIFY_ACTIVE = 7
};

/* Type codes. */
enum gwconf_type {
  GWCONF_TYPE_STRING = 2,
  GWCONF_TYPE_INT = 3,
  GWCONF_TYPE_UNSIGNED_INT = 4,
  GWCONF_TYPE_BOOLEAN = 5,
  GWCONF_TYPE_DATE_TIME = 6,
  GWCONF_TYPE_BASE64 = 7,
  GWCONF_TYPE_ENUMERATION = 8,
  GWCONF_TYPE_IP_ADDRESS = 9,
  GWCONF_TYPE_NETMASK = 10,
  GWCONF_TYPE_MAC_ADDRESS = 11,
  GWCONF_TYPE_UNKNOWN = 12
};

typedef struct gwconf_client gwconf_client;
typedef struct gwconf_answers gwconf_answers;
typedef struct gwconf_listener gwconf_listener;

/* ------------------------------------------------------------------------------- the handle */

/* Makes a handle; connects to nothing yet. The socket is the one at `socket_path`; for NULL the one
 * that the environment variable GWCONF_SOCKET names, else the system's own.
 * GWCONF_OK, GWCONF_E_ARGUMENT (the path is too long for a socket), GWCONF_E_MEMORY. */
GWCONF_API int gwconf_open(const char* socket_path, gwconf_client** client);

/* Ends a handle that no other thread uses any more. NULL is allowed. */
GWCONF_API void gwconf_close(gwconf_client* client);

/* The socket's path; lives as long as the handle. */
GWCONF_API const char* gwconf_socket_path(const gwconf_client* client);

/* Milliseconds (1 or more) that a request may take in all, the wait in the daemon's queue included.
 * The daemon serves one client after the other and gives a slow one five seconds per message, and a
 * commit writes two flash partitions: short times make busy minutes look like failures.
 * GWCONF_OK, GWCONF_E_ARGUMENT. */
GWCONF_API int gwconf_set_timeout(gwconf_client* client, int milliseconds);

/* Gives back a text or list that this library handed over. NULL is allowed. */
GWCONF_API void gwconf_free(void* text_or_list);

/* The meaning of a code of either kind; a constant text, never NULL. */
GWCONF_API const char* gwconf_strerror(int code);

/* --------------------------------------------------------------------------------- parameters */

/* The value, computed at this moment for a measured parameter. Empty also when the parameter's
 * object is disabled or a measurement failed. */
GWCONF_API int gwconf_get_value(const gwconf_client* client, const char* parameter, char** value);

/* Stores a value as it is: type, limits and access are for the caller to check beforehand.
 * GWCONF_UNCHANGED when it was the value already. */
GWCONF_API int gwconf_set_value(const gwconf_client* client, const char* parameter,
                                const char* value);

/* The last component of the path. */
GWCONF_API int gwconf_get_name(const gwconf_client* client, const char* parameter, char** name);

/* The full path as the tree spells it. */
GWCONF_API int gwconf_get_path(const gwconf_client* client, const char* parameter, char** path);

/* One of enum gwconf_type. */
GWCONF_API int gwconf_get_type(const gwconf_client* client, const char* parameter, int* type);

/* The limits: a range for numbers, a length for texts; 0 in the maximum stands for none. */
GWCONF_API int gwconf_get_max(const gwconf_client* client, const char* parameter, int* maximum);
GWCONF_API int gwconf_get_min(const gwconf_client* client, const char* parameter, int* minimum);

/* The allowed values, separated by commas; empty when there is no such list. */
GWCONF_API int gwconf_get_enumeration(const gwconf_client* client, const char* parameter,
                                      char** enumeration);

/* The attribute word of an object or parameter. */
GWCONF_API int gwconf_get_attributes(const gwconf_client* client, const char* path,
                                     unsigned* attributes);

/* Sets (`on` not 0) or clears one bit of the attribute word, by number: see gwconf_attribute. */
GWCONF_API int gwconf_set_attribute(const gwconf_client* client, const char* path, int bit, int on);

/* The short-name index: a header text per bucket, each followed by its entries, all ending with a
 * line break. Give the texts back with gwconf_answers_free(). */
GWCONF_API int gwconf_dump_short_names(const gwconf_client* client, gwconf_answers** texts);

/* ---------------------------------------------------------------------------------- instances */

/* `table` is an object path. Numbers are 0 to GWCONF_INSTANCE_MAX; the daemon takes those from 1.
 * Add: GWCONF_EXISTS when an enabled instance has the number. Insert shifts the run of instances
 * that begins at the number. The virtual forms make the new instance a virtual one. */
GWCONF_API int gwconf_add_instance(const gwconf_client* client, const char* table, unsigned number);
GWCONF_API int gwconf_add_virtual_instance(const gwconf_client* client, const char* table,
                                           unsigned number);
GWCONF_API int gwconf_insert_instance(const gwconf_client* client, const char* table,
                                      unsigned number);
GWCONF_API int gwconf_insert_virtual_instance(const gwconf_client* client, const char* table,
                                              unsigned number);
GWCONF_API int gwconf_delete_instance(const gwconf_client* client, const char* table,
                                      unsigned number);

/* Deletes any object with all below it. */
GWCONF_API int gwconf_delete_node(const gwconf_client* client, const char* object);

/* 1 when the object or parameter lies inside a virtual instance, else 0: also for a path that does
 * not exist. */
GWCONF_API int gwconf_check_virtual(const gwconf_client* client, const char* path, int* is_virtual);

/* The numbers of a table's instances, in its order: an array of `count` numbers, NULL when there
 * are none. The daemon cuts numbers of five digits to four. */
GWCONF_API int gwconf_list_instances(const gwconf_client* client, const char* table,
                                     unsigned** numbers, size_t* count);

/* Closes gaps: numbers the instances from the one before `first` on without holes, at most `count`
 * of them (0: all). */
GWCONF_API int gwconf_rearrange(const gwconf_client* client, const char* table, unsigned first,
                                unsigned count);

/* Moves an object, or the object that holds the parameter `moved`, below another parent.
 * GWCONF_REFUSED when it is disabled. */
GWCONF_API int gwconf_move(const gwconf_client* client, const char* new_parent, const char* moved);

/* ------------------------------------------------------------------------------ configurations */

/* Writes what the user has set to both flash partitions. Nothing else does. */
GWCONF_API int gwconf_commit(const gwconf_client* client);

/* Back to the factory defaults, in memory and in flash. */
GWCONF_API int gwconf_reset(const gwconf_client* client);

/* Saves the configuration to a file, or rebuilds it from one (in memory only: commit makes it
 * last). The daemon opens the file: the path is its, so make it absolute; the rights are the
 * caller's. */
GWCONF_API int gwconf_save(const gwconf_client* client, const char* file);
GWCONF_API int gwconf_restore(const gwconf_client* client, const char* file);

/* An object with all below it, or a parameter, as XML; may be several MiB. */
GWCONF_API int gwconf_export_node(const gwconf_client* client, const char* object, char** xml);
GWCONF_API int gwconf_export_parameter(const gwconf_client* client, const char* parameter,
                                       char** xml);

/* -------------------------------------------------------------------------------- raw requests */

/* Sends any command with any arguments and gathers every answer before the result. For a number
 * that is no command the answers end where the daemon hangs up, and the last text is the result.
 * The answers are handed over with every code of the daemon's, not only with 0. */
GWCONF_API int gwconf_call(const gwconf_client* client, int command, const char* const* arguments,
                           size_t argument_count, gwconf_answers** answers);

GWCONF_API size_t gwconf_answers_count(const gwconf_answers* answers);

/* The text at `index` (from 0), NULL behind the last; lives as long as the answers. */
GWCONF_API const char* gwconf_answers_text(const gwconf_answers* answers, size_t index);

GWCONF_API void gwconf_answers_free(gwconf_answers* answers);

/* --------------------------------------------------------------------------------- notification */

/* Registers any process of the caller's (root: any process), signal and file; see
 * gwconf_listener_open() for the whole service. There is one registration in the daemon, and each
 * new one replaces it. */
GWCONF_API int gwconf_register(const gwconf_client* client, int process, int signal,
                               const char* file);

enum gwconf_notification {
  GWCONF_NOTIFICATION_NONE = 0,
  GWCONF_NOTIFICATION_PASSIVE = 1,
  GWCONF_NOTIFICATION_ACTIVE = 2
};

typedef struct gwconf_change {
  const char* parameter; /* full path; NULL when there is no further change */
  int notification;      /* the parameter's notification, see gwconf_notification */
} gwconf_change;

/* Makes this process the listener for value changes. The daemon keeps one listener: a later
 * registration by anybody silences this one, and so does a restart of the daemon.
 *
 * The daemon writes its lines to a file in a folder of the listener's own below TMPDIR (or /tmp);
 * closing removes the folder, and with it the daemon's means to go on. That file, not the signal,
 * wakes the descriptor, so the program's handlers, masks and threads stay as they are. The signal
 * is sent all the same: `signal` 0 takes SIGURG, which does nothing to a process without a handler
 * for it. Choose another only together with a handler: the default action of most ends the process.
 *
 * GWCONF_INVALID when the daemon cannot write to the folder with the caller's rights, or does not
 * take the process for the caller's: one that runs with another's rights (setuid). */
GWCONF_API int gwconf_listener_open(const gwconf_client* client, int signal,
                                    gwconf_listener** listener);

/* A descriptor that polls readable while gwconf_listener_next() may have something. It is the
 * listener's: do not read or close it. */
GWCONF_API int gwconf_listener_fd(const gwconf_listener* listener);

/* The next change, each exactly once and in order; the text lives until the next call on this
 * listener. Never waits for a change: `parameter` is then NULL, with GWCONF_OK. One thread at a
 * time. GWCONF_E_PROTOCOL: a line was no change and is passed over; the next call goes on behind
 * it. GWCONF_E_SYSTEM: the file could not be read; nothing is lost. */
GWCONF_API int gwconf_listener_next(gwconf_listener* listener, gwconf_change* change);

/* Ends a listener. In a child of the process that opened it this only closes descriptors. NULL is
 * allowed. */
GWCONF_API void gwconf_listener_close(gwconf_listener* listener);

#ifdef __cplusplus
}
#endif

#endif
