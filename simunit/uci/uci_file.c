/* Reads configuration files and uncommitted changes into the tree. */
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

#include "uci_tree.h"

enum { MAX_FILE_SIZE = 1 << 20, MAX_WORDS = 3 };

/* A text that is being cut into words, which are unquoted into a buffer of their own. */
struct reader {
    struct uci_context* ctx;
    const char* at;
    const char* line_start;
    int line;
    char* words;
};

static int parse_error(struct reader* r, const char* reason) {
    r->ctx->reason = reason;
    r->ctx->line = r->line;
    r->ctx->byte = (int)(r->at - r->line_start);
    return UCI_ERR_PARSE;
}

/* --- words --- */

static bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

static bool ends_word(char c) {
    return c == '\0' || c == '\n' || c == '#' || is_blank(c);
}

/* Takes one character, which may not be the end of the text. */
static char take(struct reader* r) {
    const char c = *r->at++;
    if (c == '\n') {
        r->line++;
        r->line_start = r->at;
    }
    return c;
}

/* Reads a quoted piece, behind its opening quote, to *out. A quoted piece may span lines. */
static int read_quoted(struct reader* r, char quote, char** out) {
    while (*r->at != quote) {
        if (*r->at == '\\' && quote == '"')
            r->at++;
        if (*r->at == '\0')
            return parse_error(
                r, quote == '"' ? "EOF with unterminated \"" : "EOF with unterminated '");
        *(*out)++ = take(r);
    }
    r->at++;
    return UCI_OK;
}

/*
 * Reads the next word of the line to *out and moves that on behind the word. *word is NULL at the
 * end of the line. A word never takes more room than its text, and its terminator that of the
 * blank behind it.
 */
static int read_word(struct reader* r, char** out, char** word) {
    *word = NULL;
    while (is_blank(*r->at))
        r->at++;
    if (ends_word(*r->at))
        return UCI_OK;
    char* const start = *out;
    while (!ends_word(*r->at)) {
        char c = take(r);
        if (c == '\'' || c == '"') {
            const int err = read_quoted(r, c, out);
            if (err != UCI_OK)
                return err;
            continue;
        }
        if (c == '\\') {
            if (*r->at == '\0')
                break;
            c = take(r);
            if (c == '\n') /* the line goes on in the next one */
                continue;
        }
        *(*out)++ = c;
    }
    *(*out)++ = '\0';
    *word = start;
    return UCI_OK;
}

static void skip_line(struct reader* r) {
    while (*r->at != '\0' && take(r) != '\n') {
    }
}

/* --- changes to the tree --- */

static int open_section(struct uci_package* package, const char* name, const char* type,
                        struct uci_section** out) {
    char generated[32];
    *out = name != NULL ? uci_to_section(uci_find(&package->sections, name)) : NULL;
    if (*out != NULL)
        return strcmp((*out)->type, type) == 0 ? UCI_OK : UCI_ERR_DUPLICATE;
    if (name == NULL)
        snprintf(generated, sizeof generated, "cfg%06x", (unsigned)++package->n_section);
    struct uci_section* section = uci_new_element(
        &package->sections, sizeof *section, UCI_TYPE_SECTION, name != NULL ? name : generated);
    if (section == NULL)
        return UCI_ERR_MEM;
    uci_list_init(&section->options);
    section->package = package;
    section->anonymous = name == NULL;
    section->type = strdup(type);
    *out = section;
    return section->type != NULL ? UCI_OK : UCI_ERR_MEM;
}

static bool add_item(struct uci_option* option, const char* value) {
    return uci_new_element(&option->v.list, sizeof(struct uci_element), UCI_TYPE_ITEM, value) !=
           NULL;
}

/*
 * Replaces the option's value, or adds to its list, whose first item a single value becomes. An
 * empty value is none: it removes the option.
 */
static int put_value(struct uci_section* section, const char* name, const char* value,
                     bool is_list) {
    struct uci_option* option = uci_to_option(uci_find(&section->options, name));
    if (option != NULL && !is_list) {
        uci_free_element(&option->e);
        option = NULL;
    }
    if (!is_list && value[0] == '\0')
        return UCI_OK;
    if (option == NULL) {
        option = uci_new_element(&section->options, sizeof *option, UCI_TYPE_OPTION, name);
        if (option == NULL)
            return UCI_ERR_MEM;
        option->section = section;
    }
    if (!is_list) {
        option->v.string = strdup(value);
        return option->v.string != NULL ? UCI_OK : UCI_ERR_MEM;
    }
    char* single = NULL;
    if (option->type == UCI_TYPE_STRING) {
        single = option->v.string;
        option->type = UCI_TYPE_LIST;
        uci_list_init(&option->v.list);
    }
    const bool ok = (single == NULL || add_item(option, single)) && add_item(option, value);
    free(single);
    return ok ? UCI_OK : UCI_ERR_MEM;
}

/* --- configuration files --- */

static int read_config_line(struct reader* r, struct uci_package* package,
                            struct uci_section** section) {
    char* words[MAX_WORDS + 1] = {NULL};
    char* out = r->words;
    int count = 0;
    do {
        const int err = read_word(r, &out, &words[count]);
        if (err != UCI_OK)
            return err;
    } while (words[count] != NULL && ++count <= MAX_WORDS);
    if (count == 0)
        return UCI_OK;
    if (count > MAX_WORDS)
        return parse_error(r, "too many arguments");
    const char* keyword = words[0];
    const bool is_list = strcmp(keyword, "list") == 0;
    const bool is_config = strcmp(keyword, "config") == 0;
    if (!is_list && !is_config && strcmp(keyword, "option") != 0 && strcmp(keyword, "package") != 0)
        return parse_error(r, "invalid command");
    if (count == 1)
        return parse_error(r, "insufficient arguments");
    if (!uci_name_ok(words[1], is_config ? "-" : ""))
        return parse_error(
            r, is_config ? "invalid character in type field" : "invalid character in name field");
    if (keyword[0] == 'p')
        return UCI_OK; /* the file's own name is what counts */
    if (is_config) {
        if (words[2] != NULL && words[2][0] == '\0')
            words[2] = NULL;
        if (words[2] != NULL && !uci_name_ok(words[2], ""))
            return parse_error(r, "invalid character in name field");
        const int err = open_section(package, words[2], words[1], section);
        if (err == UCI_ERR_DUPLICATE)
            return parse_error(r,
                               "section of different type overwrites prior section with same name");
        return err;
    }
    if (*section == NULL)
        return parse_error(r, "option/list command found before the first section");
    return put_value(*section, words[1], words[2] != NULL ? words[2] : "", is_list);
}

static int read_config_text(struct reader* r, struct uci_package* package) {
    struct uci_section* section = NULL;
    while (*r->at != '\0') {
        const int err = read_config_line(r, package, &section);
        if (err != UCI_OK)
            return err;
        skip_line(r); /* the comment or the line's end */
    }
    return UCI_OK;
}

/* --- uncommitted changes --- */

/*
 * Carries out one change: "pkg.sec.opt=value", "pkg.sec=type", "-pkg.sec.opt", "-pkg.sec" or, to
 * add to a list, "|pkg.sec.opt=value". What is odd or has no target any more is passed over.
 */
static int apply_change(struct uci_package* package, char* change) {
    const int sign = change[0] == '-' || change[0] == '|' ? *change++ : '\0';
    char* value = strchr(change, '=');
    if (value != NULL)
        *value++ = '\0';
    char* name = strchr(change, '.');
    if (name == NULL || (value == NULL) != (sign == '-'))
        return UCI_OK;
    *name++ = '\0';
    char* option = strchr(name, '.');
    if (option != NULL)
        *option++ = '\0';
    if (strcmp(change, package->e.name) != 0 || !uci_name_ok(name, "") ||
        (option != NULL && !uci_name_ok(option, "")))
        return UCI_OK;

    struct uci_section* section = uci_to_section(uci_find(&package->sections, name));
    if (option != NULL) {
        if (section == NULL)
            return UCI_OK;
        return put_value(section, option, sign == '-' ? "" : value, sign == '|');
    }
    if (sign == '-' && section != NULL)
        uci_free_element(&section->e);
    if (sign != '\0' || !uci_name_ok(value, "-"))
        return UCI_OK;
    const int err = open_section(package, name, value, &section);
    return err == UCI_ERR_DUPLICATE ? UCI_OK : err;
}

static int read_change_text(struct reader* r, struct uci_package* package) {
    while (*r->at != '\0') {
        const char* const line = r->at;
        char* out = r->words;
        char* change = NULL;
        if (read_word(r, &out, &change) != UCI_OK)
            r->at = line; /* a quote left open spoils no more than its line */
        else if (change != NULL && apply_change(package, change) != UCI_OK)
            return UCI_ERR_MEM;
        skip_line(r);
    }
    return UCI_OK;
}

/* --- files --- */

/*
 * Reads an open file whole into *text, whose length it returns; -1 when that is not possible. There
 * is room behind the text for its terminator and for the words that are cut from it.
 */
static ssize_t read_whole(int fd, char** text) {
    size_t used = 0;
    for (size_t size = 4096; size <= MAX_FILE_SIZE; size *= 2) {
        char* const larger = realloc(*text, 2 * size + 2);
        if (larger == NULL)
            return -1;
        *text = larger;
        const ssize_t length = read(fd, *text + used, size - used);
        if (length < 0)
            return -1;
        used += (size_t)length;
        if (used < size)
            return (ssize_t)used;
    }
    errno = EFBIG;
    return -1;
}

static int read_into(struct uci_context* ctx, struct uci_package* package, const char* directory,
                     int (*read_text)(struct reader*, struct uci_package*)) {
    char path[4096];
    const int length = snprintf(path, sizeof path, "%s/%s", directory, package->e.name);
    if (length < 0 || (size_t)length >= sizeof path)
        return UCI_ERR_NOTFOUND;
    /* Opening a pipe would wait for a writer. */
    const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return errno == ENOENT || errno == ENOTDIR ? UCI_ERR_NOTFOUND : UCI_ERR_IO;
    char* text = NULL;
    const ssize_t size = read_whole(fd, &text);
    int err = UCI_ERR_IO;
    if (size >= 0) {
        text[size] = '\0';
        struct reader r = {ctx, text, text, 1, text + size + 1};
        err = read_text(&r, package);
    } else if (errno == EISDIR) {
        err = UCI_ERR_NOTFOUND;
    } else if (errno == ENOMEM) {
        err = UCI_ERR_MEM;
    }
    free(text);
    close(fd);
    return err;
}

int uci_read_config(struct uci_context* ctx, struct uci_package* package) {
    return read_into(ctx, package, ctx->confdir, read_config_text);
}

int uci_read_changes(struct uci_context* ctx, struct uci_package* package) {
    const int err = read_into(ctx, package, ctx->savedir, read_change_text);
    return err == UCI_ERR_MEM ? err : UCI_OK;
}
