// SPDX-License-Identifier: Apache-2.0
// The one table of what the host answers: each route with its method, its parameters, who may ask, and an example. The
// requests are checked by it, and the description of the interface (openapi.h) is made from it. Any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/message.h"
#include "host/tokens.h"
#include "tools/gateway/json_values.h"

namespace mercato::host {

using gateway::Json;
class Host;

struct Parameter {
  enum class Kind { text, integer, number, day, choice };
  const char* name;
  Kind kind = Kind::text;
  bool required = false;
  const char* description = "";
  const char* example = "";
  std::int64_t least = 0;  // of an integer
  std::int64_t most = 2147483647;
  const char* choices = "";  // with `|` between them
};

// A body in a file of the web root's folder, which goes with this object unless it is kept. One thread at a time.
class SpooledBody {
 public:
  // Raises 75 when there can be no file.
  SpooledBody();
  ~SpooledBody();
  SpooledBody(const SpooledBody&) = delete;
  SpooledBody& operator=(const SpooledBody&) = delete;

  // False when it cannot be written.
  bool add(std::string_view piece);
  const std::string& name() const { return name_; }
  // Whether it is whole and on the disk.
  bool sync() const;
  // It stays.
  void keep() { kept_ = true; }

 private:
  std::string name_;
  std::string path_;
  int descriptor_ = -1;  // locked, so that other processes know that it is not left over
  bool kept_ = false;
};

// One request with everything that a handler needs. On a worker's thread.
struct Call {
  Host& host;
  const Head& head;
  const Caller& caller;
  std::map<std::string, std::string, std::less<>> values;  // of the parameters that were given, checked
  std::string body;
  std::unique_ptr<SpooledBody> spooled;  // in place of the body, for a route that takes documents

  bool has(std::string_view name) const { return values.contains(name); }
  // "" when it was not given.
  const std::string& text(std::string_view name) const;
  std::int32_t integer(std::string_view name) const;
  std::optional<std::int32_t> integer_if_given(std::string_view name) const;
  double number(std::string_view name) const;
  // Whose sight the answer has: the user of the token, else the one that the request names.
  std::optional<std::string> sight() const;
};

using Handler = Response (*)(Call&);

struct Route {
  const char* method;
  const char* path;  // with names in braces
  Role role;         // the least that may ask; nobody: everyone
  const char* summary;
  std::vector<Parameter> parameters;
  Handler handler;
  const char* answer;            // how the description calls the schema of the answer
  std::uint64_t most_bytes = 0;  // of a body
  const char* body = "";         // an example of it
  int status = 200;              // of an answer that is none of the problems
  bool takes_document = false;   // the body goes to a file
  bool has_own_limits = false;   // the handler limits the time of its calls itself
};

// The routes of all themes.
const std::vector<Route>& routes();

// The table by themes; each in the file of its name.
std::vector<Route> process_routes();
std::vector<Route> rpc_routes();
std::vector<Route> product_routes();
std::vector<Route> catalog_routes();
std::vector<Route> list_routes();
std::vector<Route> session_routes();
std::vector<Route> upload_routes();

// A request that is answered with a problem.
struct Refused {
  int status;
  std::string detail;
};
[[noreturn]] void refuse(int status, std::string detail);

// Where a request leads.
struct Found {
  const Route* route = nullptr;                            // null: nowhere
  bool other_method = false;                               // the path is there, the method is not
  std::string allowed;                                     // the methods of the path
  std::map<std::string, std::string, std::less<>> values;  // from the path
};
Found find_route(std::string_view method, std::string_view path);

// The path of a target, and what stands behind its question mark.
struct Target {
  std::string path;
  std::string query;
};
// Throws Refused for one that is none.
Target target_of(std::string_view text);

// The values of a query, checked by the route's parameters. Throws Refused.
void take_query(const Route& route, std::string_view query, std::map<std::string, std::string, std::less<>>& values);
// The values from the path, likewise. Throws Refused 404: a path that cannot be is one that is not there.
void check_path_values(const Route& route, const std::map<std::string, std::string, std::less<>>& values);

Response json_response(const Json& json, int status = 200);
// With an ETag; 304 when the caller has it.
Response record_response(const Call& call, const Json& json);
Response problem_response(int status, std::string_view detail);

}  // namespace mercato::host
