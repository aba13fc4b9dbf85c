/*
 * Stand-in for libuci on machines that do not have it: the part of its interface that the daemon
 * calls, with the same names, fields, error codes and error texts. It only reads.
 */
#ifndef UCI_H
#define UCI_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    UCI_OK,
    UCI_ERR_MEM,
    UCI_ERR_INVAL,
    UCI_ERR_NOTFOUND,
    UCI_ERR_IO,
    UCI_ERR_PARSE,
    UCI_ERR_DUPLICATE,
    UCI_ERR_UNKNOWN
};

enum uci_type { UCI_TYPE_UNSPEC, UCI_TYPE_PACKAGE, UCI_TYPE_SECTION, UCI_TYPE_OPTION };

enum uci_option_type { UCI_TYPE_STRING, UCI_TYPE_LIST };

/* A circular list with a head; empty when the head points to itself. */
struct uci_list {
    struct uci_list* next;
    struct uci_list* prev;
};

struct uci_element {
    struct uci_list list;
    enum uci_type type;
    char* name;
};

struct uci_context {
    int err;              /* of the last call */
    struct uci_list root; /* the loaded packages */
    char* confdir;
    char* savedir;
    const char* reason; /* of the last UCI_ERR_PARSE, with its place */
    int line;
    int byte;
};

struct uci_package {
    struct uci_element e;
    struct uci_list sections;
    struct uci_context* ctx;
    int n_section; /* anonymous sections named so far */
};

struct uci_section {
    struct uci_element e;
    struct uci_list options;
    struct uci_package* package;
    bool anonymous;
    char* type;
};

struct uci_option {
    struct uci_element e;
    struct uci_section* section;
    enum uci_option_type type;
    union {
        struct uci_list list;
        char* string;
    } v;
};

struct uci_ptr {
    enum uci_type target; /* what the path names */
    /* The enumerators belong to the record: in C++ they are uci_ptr::UCI_LOOKUP_DONE and so on. */
    enum {
        UCI_LOOKUP_DONE = 1 << 0,    /* the look-up has been made */
        UCI_LOOKUP_COMPLETE = 1 << 1 /* and found everything that the path names */
    } flags;
    struct uci_package* p;
    struct uci_section* s;
    struct uci_option* o;
    struct uci_element* last; /* the deepest element found */
    const char* package;
    const char* section;
    const char* option;
    const char* value;
};

/* The list is the first member of its element, and the element of its section, option or package.
 */
#define uci_to_element(ptr) ((struct uci_element*)(void*)(ptr))
#define uci_to_package(ptr) ((struct uci_package*)(void*)(ptr))
#define uci_to_section(ptr) ((struct uci_section*)(void*)(ptr))
#define uci_to_option(ptr) ((struct uci_option*)(void*)(ptr))

#define uci_foreach_element(head, ptr)                               \
    for (ptr = uci_to_element((head)->next); &(ptr)->list != (head); \
         ptr = uci_to_element((ptr)->list.next))

struct uci_context* uci_alloc_context(void);
void uci_free_context(struct uci_context* ctx);
int uci_set_confdir(struct uci_context* ctx, const char* dir);
int uci_set_savedir(struct uci_context* ctx, const char* dir);

/* Reads confdir/NAME and the uncommitted changes in savedir/NAME. */
int uci_load(struct uci_context* ctx, const char* name, struct uci_package** out);

/*
 * Splits the path "package.section.option" in place, loads the package if needed and fills ptr.
 * Returns UCI_OK for an absent section or option too; then UCI_LOOKUP_COMPLETE is not set. Extended
 * syntax ("@type[0]") is not supported.
 */
int uci_lookup_ptr(struct uci_context* ctx, struct uci_ptr* ptr, char* path, bool extended);
int uci_lookup_next(struct uci_context* ctx, struct uci_element** e, struct uci_list* list,
                    const char* name);

/* Puts "PREFIX: TEXT" for the error of the last call into memory that the caller frees. */
void uci_get_errorstr(struct uci_context* ctx, char** dest, const char* prefix);

#ifdef __cplusplus
}
#endif

#endif
