/*
 * Reads configuration files and uncommitted changes into the tree, line by line. A quoted value
 * must end on its line.
 */
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

#include "uci_tree.h"

enum { MAX_WORDS = 3 };

struct reader {
    struct uci_context* ctx;
    struct uci_package* package;
    struct uci_section* section; /* the section that was opened last */
    int line;
};

static int parse_error(struct reader* r, const char* reason, int byte) {
    r->ctx->reason = reason;
    r->ctx->line = r->line;
    r->ctx->byte = byte;
    return UCI_ERR_PARSE;
}

/*
 * Copies one word without its quotes from *at to *out and moves both. Returns the quote that is
 * still open at its end, or 0.
 */
static char copy_word(char** at, char** out) {
    char quote = '\0';
    for (; **at != '\0' && (quote != '\0' || strchr(" \t\r#", **at) == NULL); (*at)++) {
        const bool opens = quote == '\0' && (**at == '\'' || **at == '"');
        if (opens || **at == quote) {
            quote = '\0';
            if (opens)
                quote = **at;
            continue;
        }
        if (**at == '\\' && quote != '\'' && (*at)[1] != '\0')
            (*at)++;
        *(*out)++ = **at;
    }
    return quote;
}

/*
 * Splits a line in place into at most MAX_WORDS + 1 words: bare text, '...' and "...", joined where
 * they touch. The other words are NULL.
 */
static int split_words(struct reader* r, char* line, char** words) {
    char* at = line;
    char* out = line;
    bool more = true;
    for (int count = 0; count <= MAX_WORDS; count++) {
        words[count] = NULL;
        if (more)
            at += strspn(at, " \t\r");
        more = more && *at != '\0' && *at != '#';
        if (!more)
            continue;
        words[count] = out;
        const char quote = copy_word(&at, &out);
        if (quote != '\0')
            return parse_error(
                r, quote == '"' ? "EOF with unterminated \"" : "EOF with unterminated '",
                (int)(at - line));
        more = *at != '\0' && *at != '#'; /* checked now: the terminator may overwrite *at */
        *out++ = '\0';
        at++;
    }
    return UCI_OK;
}

/* --- changes to the tree --- */

static int open_section(struct reader* r, const char* type, const char* name) {
    char generated[32];
    if (name == NULL)
        snprintf(generated, sizeof generated, "cfg%06x", (unsigned)++r->package->n_section);
    struct uci_element* const known = name != NULL ? uci_find(&r->package->sections, name) : NULL;
    r->section = uci_to_section(known);
    if (known != NULL)
        return UCI_OK;
    struct uci_section* const section = uci_new_element(
        &r->package->sections, sizeof *section, UCI_TYPE_SECTION, name != NULL ? name : generated);
    if (section == NULL)
        return UCI_ERR_MEM;
    uci_list_init(&section->options);
    section->package = r->package;
    section->anonymous = name == NULL;
    section->type = strdup(type);
    r->section = section;
    return section->type != NULL ? UCI_OK : UCI_ERR_MEM;
}

/* Replaces the option. An empty value removes it. A list is stored without items, because the
 * daemon reads no lists. */
static int put_value(struct uci_section* section, const char* name, const char* value,
                     bool is_list) {
    struct uci_element* const old = uci_find(&section->options, name);
    if (old != NULL)
        uci_free_element(old);
    if (!is_list && value[0] == '\0')
        return UCI_OK;
    struct uci_option* const option =
        uci_new_element(&section->options, sizeof *option, UCI_TYPE_OPTION, name);
    if (option == NULL)
        return UCI_ERR_MEM;
    option->section = section;
    option->type = is_list ? UCI_TYPE_LIST : UCI_TYPE_STRING;
    if (is_list)
        uci_list_init(&option->v.list);
    else
        option->v.string = strdup(value);
    return is_list || option->v.string != NULL ? UCI_OK : UCI_ERR_MEM;
}

/* --- lines --- */

static int read_config_line(struct reader* r, char* line) {
    char* words[MAX_WORDS + 1];
    const int err = split_words(r, line, words);
    if (err != UCI_OK || words[0] == NULL)
        return err;
    const bool is_config = strcmp(words[0], "config") == 0;
    const bool is_list = strcmp(words[0], "list") == 0;
    const bool is_package = strcmp(words[0], "package") == 0;
    if (!is_config && !is_list && !is_package && strcmp(words[0], "option") != 0)
        return parse_error(r, "invalid command", 0);
    if (words[1] == NULL || words[MAX_WORDS] != NULL)
        return parse_error(r, words[1] == NULL ? "insufficient arguments" : "too many arguments",
                           0);
    const char* const third = words[2] != NULL ? words[2] : "";
    if (!uci_name_ok(words[1], is_config ? "-" : "") ||
        (is_config && third[0] != '\0' && !uci_name_ok(third, "")))
        return parse_error(r, "invalid character in name field", 0);
    if (is_package)
        return UCI_OK; /* the package has the name of its file */
    if (is_config)
        return open_section(r, words[1], third[0] != '\0' ? third : NULL);
    if (r->section == NULL)
        return parse_error(r, "option/list command found before the first section", 0);
    return put_value(r->section, words[1], third, is_list);
}

/*
 * Makes the changes that the unit's uci tool leaves: "pkg.sec.opt=value" and "-pkg.sec.opt". A line
 * of another form, or for a section that is absent, is skipped.
 */
static int read_change_line(struct reader* r, char* line) {
    char* words[MAX_WORDS + 1];
    if (split_words(r, line, words) != UCI_OK || words[0] == NULL)
        return UCI_OK;
    const bool removes = words[0][0] == '-';
    char* value = strchr(words[0], '=');
    if (value != NULL)
        *value++ = '\0';
    char* const section = strchr(words[0], '.');
    char* const option = section != NULL ? strchr(section + 1, '.') : NULL;
    if (option == NULL || removes != (value == NULL))
        return UCI_OK;
    *option = '\0';
    struct uci_element* const e = uci_find(&r->package->sections, section + 1);
    if (e == NULL || !uci_name_ok(option + 1, ""))
        return UCI_OK;
    return put_value(uci_to_section(e), option + 1, removes ? "" : value, false);
}

/* --- files --- */

static int read_into(struct uci_context* ctx, struct uci_package* package, const char* directory,
                     int (*read_line)(struct reader*, char*)) {
    char path[4096];
    const int length = snprintf(path, sizeof path, "%s/%s", directory, package->e.name);
    if (length < 0 || (size_t)length >= sizeof path)
        return UCI_ERR_NOTFOUND;
    /* Opening a pipe would wait for a writer. */
    const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return errno == ENOENT || errno == ENOTDIR ? UCI_ERR_NOTFOUND : UCI_ERR_IO;
    FILE* const file = fdopen(fd, "r");
    if (file == NULL) {
        close(fd);
        return UCI_ERR_MEM;
    }
    struct reader r = {ctx, package, NULL, 0};
    char* line = NULL;
    size_t size = 0;
    int err = UCI_OK;
    while (err == UCI_OK && getline(&line, &size, file) >= 0) {
        r.line++;
        line[strcspn(line, "\n")] = '\0';
        err = read_line(&r, line);
    }
    if (err == UCI_OK && ferror(file))
        err = errno == EISDIR ? UCI_ERR_NOTFOUND : UCI_ERR_IO;
    free(line);
    fclose(file);
    return err;
}

int uci_read_config(struct uci_context* ctx, struct uci_package* package) {
    return read_into(ctx, package, ctx->confdir, read_config_line);
}

int uci_read_changes(struct uci_context* ctx, struct uci_package* package) {
    const int err = read_into(ctx, package, ctx->savedir, read_change_line);
    return err == UCI_ERR_MEM ? err : UCI_OK;
}
