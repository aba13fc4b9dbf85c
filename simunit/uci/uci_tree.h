/* What uci.c and uci_file.c share: the tree of elements, and reading files into it. */
#ifndef UCI_TREE_H
#define UCI_TREE_H

#include "uci.h"

void uci_list_init(struct uci_list* list);

/* A zeroed element at the end of a list; NULL when out of memory. */
void* uci_new_element(struct uci_list* list, size_t size, enum uci_type type, const char* name);

/* Frees an element with all that it holds. */
void uci_free_element(struct uci_element* e);

/* The named element of a list, or NULL. */
struct uci_element* uci_find(struct uci_list* list, const char* name);

/* Letters, digits and '_', and what else is given; not empty. */
bool uci_name_ok(const char* name, const char* others);

/* Read confdir/NAME, then the uncommitted changes in savedir/NAME, into an empty package. */
int uci_read_config(struct uci_context* ctx, struct uci_package* package);
int uci_read_changes(struct uci_context* ctx, struct uci_package* package);

#endif
