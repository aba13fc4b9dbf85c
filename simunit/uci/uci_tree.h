/* Shared by uci.c and uci_file.c: the tree of elements, and reading files into it. */
#ifndef UCI_TREE_H
#define UCI_TREE_H

#include "uci.h"

void uci_list_init(struct uci_list* list);

/* Adds a zeroed element at the end of a list. Returns NULL when out of memory. */
void* uci_new_element(struct uci_list* list, size_t size, enum uci_type type, const char* name);

/* Frees an element and everything in it. */
void uci_free_element(struct uci_element* e);

/* Returns the element of a list with this name, or NULL. */
struct uci_element* uci_find(struct uci_list* list, const char* name);

/* Returns true if the text is not empty and has only letters, digits, '_' and the extra characters.
 */
bool uci_name_ok(const char* name, const char* others);

/* Reads confdir/NAME, then the uncommitted changes in savedir/NAME, into an empty package. */
int uci_read_config(struct uci_context* ctx, struct uci_package* package);
int uci_read_changes(struct uci_context* ctx, struct uci_package* package);

#endif
