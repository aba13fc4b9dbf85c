// Values as JSON. The caller owns what these return.
#pragma once

#include <json-c/json.h>

#include <string>

#include "station/options.h"
#include "station/values.h"

namespace station {

// Returns the value as JSON; null if there is none. A number stays a number, a record an object.
json_object* jsonOf(const Value& value);

// Returns a string; all but printable ASCII in it is \xNN.
json_object* jsonString(const std::string& text);

// Parses a text that is strict JSON to its end. Returns null if the text is not, or if it holds a
// number that is not finite.
json_object* parseJson(const std::string& text);

// Returns the object on one line of printable ASCII.
std::string jsonLine(json_object* object);

}  // namespace station
