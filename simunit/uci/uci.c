/* Contexts, look-ups and error texts; uci_file.c reads the files. */
#include "uci.h"

#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "uci_tree.h"

/* --- the tree --- */

void uci_list_init(struct uci_list* list) {
    list->next = list;
    list->prev = list;
}

void* uci_new_element(struct uci_list* list, size_t size, enum uci_type type, const char* name) {
    struct uci_element* e = calloc(1, size);
    if (e == NULL)
        return NULL;
    e->type = type;
    e->name = strdup(name);
    if (e->name == NULL) {
        free(e);
        return NULL;
    }
    e->list.next = list;
    e->list.prev = list->prev;
    list->prev->next = &e->list;
    list->prev = &e->list;
    return e;
}

static void free_list(struct uci_list* list) {
    struct uci_list* next = NULL;
    for (struct uci_list* at = list->next; at != list; at = next) {
        next = at->next;
        uci_free_element(uci_to_element(at));
    }
}

void uci_free_element(struct uci_element* e) {
    switch (e->type) {
        case UCI_TYPE_PACKAGE:
            free_list(&uci_to_package(e)->sections);
            break;
        case UCI_TYPE_SECTION:
            free_list(&uci_to_section(e)->options);
            free(uci_to_section(e)->type);
            break;
        case UCI_TYPE_OPTION:
            if (uci_to_option(e)->type == UCI_TYPE_STRING)
                free(uci_to_option(e)->v.string);
            break;
        default:
            break;
    }
    e->list.prev->next = e->list.next;
    e->list.next->prev = e->list.prev;
    free(e->name);
    free(e);
}

struct uci_element* uci_find(struct uci_list* list, const char* name) {
    struct uci_element* e;
    uci_foreach_element(list, e) {
        if (strcmp(e->name, name) == 0)
            return e;
    }
    return NULL;
}

bool uci_name_ok(const char* name, const char* others) {
    for (const char* c = name; *c != '\0'; c++) {
        if (!isalnum((unsigned char)*c) && *c != '_' && strchr(others, *c) == NULL)
            return false;
    }
    return name[0] != '\0';
}

/* --- contexts and packages --- */

static int set_error(struct uci_context* ctx, int err) {
    ctx->err = err;
    return err;
}

static int set_directory(struct uci_context* ctx, char** directory, const char* value) {
    char* copy = value != NULL ? strdup(value) : NULL;
    if (copy == NULL)
        return set_error(ctx, value != NULL ? UCI_ERR_MEM : UCI_ERR_INVAL);
    free(*directory);
    *directory = copy;
    return set_error(ctx, UCI_OK);
}

struct uci_context* uci_alloc_context(void) {
    struct uci_context* ctx = calloc(1, sizeof *ctx);
    if (ctx == NULL)
        return NULL;
    uci_list_init(&ctx->root);
    if (uci_set_confdir(ctx, "/etc/config") != UCI_OK ||
        uci_set_savedir(ctx, "/tmp/.uci") != UCI_OK) {
        uci_free_context(ctx);
        return NULL;
    }
    return ctx;
}

void uci_free_context(struct uci_context* ctx) {
    free_list(&ctx->root);
    free(ctx->confdir);
    free(ctx->savedir);
    free(ctx);
}

int uci_set_confdir(struct uci_context* ctx, const char* dir) {
    return set_directory(ctx, &ctx->confdir, dir);
}

int uci_set_savedir(struct uci_context* ctx, const char* dir) {
    return set_directory(ctx, &ctx->savedir, dir);
}

int uci_load(struct uci_context* ctx, const char* name, struct uci_package** out) {
    if (out != NULL)
        *out = NULL;
    if (name == NULL || !uci_name_ok(name, ""))
        return set_error(ctx, UCI_ERR_INVAL);
    if (uci_find(&ctx->root, name) != NULL)
        return set_error(ctx, UCI_ERR_DUPLICATE);
    struct uci_package* package =
        uci_new_element(&ctx->root, sizeof *package, UCI_TYPE_PACKAGE, name);
    if (package == NULL)
        return set_error(ctx, UCI_ERR_MEM);
    uci_list_init(&package->sections);
    package->ctx = ctx;
    int err = uci_read_config(ctx, package);
    if (err == UCI_OK)
        err = uci_read_changes(ctx, package);
    if (err != UCI_OK)
        uci_free_element(&package->e);
    else if (out != NULL)
        *out = package;
    return set_error(ctx, err);
}

/* --- look-ups --- */

int uci_lookup_next(struct uci_context* ctx, struct uci_element** e, struct uci_list* list,
                    const char* name) {
    *e = uci_find(list, name);
    return set_error(ctx, *e != NULL ? UCI_OK : UCI_ERR_NOTFOUND);
}

/* Returns the text before the next '.' and cuts it off. Returns NULL when no text is left. */
static char* cut_part(char** rest) {
    char* part = *rest;
    char* dot = part != NULL ? strchr(part, '.') : NULL;
    if (dot != NULL)
        *dot++ = '\0';
    *rest = dot;
    return part;
}

int uci_lookup_ptr(struct uci_context* ctx, struct uci_ptr* ptr, char* path, bool extended) {
    (void)extended;
    memset(ptr, 0, sizeof *ptr);
    char* rest = path;
    ptr->package = cut_part(&rest);
    ptr->section = cut_part(&rest);
    ptr->option = cut_part(&rest);
    if (ptr->option == NULL || rest != NULL)
        return set_error(ctx, UCI_ERR_INVAL);
    ptr->target = UCI_TYPE_OPTION;
    ptr->flags = UCI_LOOKUP_DONE;
    ptr->p = uci_to_package(uci_find(&ctx->root, ptr->package));
    if (ptr->p == NULL && uci_load(ctx, ptr->package, &ptr->p) != UCI_OK)
        return ctx->err;
    ptr->last = &ptr->p->e;
    struct uci_element* e = uci_find(&ptr->p->sections, ptr->section);
    if (e != NULL) {
        ptr->s = uci_to_section(e);
        ptr->last = e;
        e = uci_find(&ptr->s->options, ptr->option);
    }
    if (e != NULL) {
        ptr->o = uci_to_option(e);
        ptr->last = e;
        ptr->flags |= UCI_LOOKUP_COMPLETE;
    }
    return set_error(ctx, UCI_OK);
}

/* --- error texts --- */

void uci_get_errorstr(struct uci_context* ctx, char** dest, const char* prefix) {
    static const char* const texts[] = {"Success",         "Out of memory", "Invalid argument",
                                        "Entry not found", "I/O error",     "Parse error",
                                        "Duplicate entry", "Unknown error"};
    const int err = ctx == NULL ? UCI_ERR_INVAL : ctx->err;
    char place[128] = "";
    if (err == UCI_ERR_PARSE && ctx->reason != NULL)
        snprintf(place, sizeof place, " (%s) at line %d, byte %d", ctx->reason, ctx->line,
                 ctx->byte);
    const char* text = texts[err >= 0 && err < UCI_ERR_UNKNOWN ? err : UCI_ERR_UNKNOWN];
    if (prefix == NULL)
        prefix = "";
    const char* colon = prefix[0] != '\0' ? ": " : "";
    const size_t size = strlen(prefix) + strlen(colon) + strlen(text) + strlen(place) + 1;
    *dest = malloc(size);
    if (*dest != NULL)
        snprintf(*dest, size, "%s%s%s%s", prefix, colon, text, place);
}
