// This file contains helpers that every stage uses to read its arguments.
#include "engine/stages/stage.h"

namespace engine {

std::string StagePlace(const StageCall& call) {
  return "stage '" + call.QualifiedName() + "' (line " + std::to_string(call.line) + "): ";
}

bool ArgumentJson(const StageCall& call, const Script& script, std::size_t index, bool required,
                  bool object, const support::Json** json, MessageQueue& messages) {
  *json = nullptr;
  const std::string which = "argument " + std::to_string(index + 1);
  if (index >= call.arguments.size() ||
      call.arguments[index].kind == StageArgument::Kind::kNone) {
    if (required) return messages.Error(StagePlace(call) + which + " is required");
    return true;
  }
  const StageArgument& argument = call.arguments[index];
  const Declaration* declaration =
      argument.kind == StageArgument::Kind::kName ? script.Find(argument.name) : nullptr;
  if (declaration == nullptr || declaration->is_function) {
    return messages.Error(StagePlace(call) + which + " must name a JSON " +
                          (object ? "object" : "array"));
  }
  if (object ? !declaration->json.is_object() : !declaration->json.is_array()) {
    return messages.Error(StagePlace(call) + "'" + declaration->name + "' must be a JSON " +
                          (object ? "object" : "array"));
  }
  *json = &declaration->json;
  return true;
}

bool ConfigurationAndFiles(const StageCall& call, const Script& script, bool outputs_required,
                           const support::Json** config, const support::Json** inputs,
                           const support::Json** outputs, MessageQueue& messages) {
  return ArgumentJson(call, script, 0, true, true, config, messages) &&
         ArgumentJson(call, script, 1, true, false, inputs, messages) &&
         ArgumentJson(call, script, 2, outputs_required, false, outputs, messages);
}

std::string PathFromUri(const std::string& uri) {
  if (uri.rfind("file:", 0) != 0) return uri;
  std::string path = uri.substr(5);
  if (path.rfind("//", 0) == 0) {
    const std::size_t first = path.find_first_not_of('/');
    path = first == std::string::npos ? "/" : "/" + path.substr(first);
  }
  return path;
}

}  // namespace engine
