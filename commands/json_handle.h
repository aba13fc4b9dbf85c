// An owner for JSON objects.
#pragma once

#include <json-c/json.h>

#include <memory>

struct JsonReleaser {
    void operator()(json_object* object) const { json_object_put(object); }
};
using Json = std::unique_ptr<json_object, JsonReleaser>;
