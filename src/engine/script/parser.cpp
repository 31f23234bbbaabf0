// This file contains the recursive-descent parser of scripts.
#include "engine/script/parser.h"

#include <set>

#include "engine/script/lexer.h"
#include "support/text.h"

namespace engine {

const Declaration* Script::Find(const std::string& name) const {
  for (const Declaration& declaration : declarations) {
    if (declaration.name == name) return &declaration;
  }
  return nullptr;
}

namespace {

// Thrown only inside this file to unwind the descent at the first fault; ParseScript catches it.
struct ParseFailure {
  support::Error error;
};

class Parser {
 public:
  explicit Parser(std::string_view text) : lexer_(text) {}

  Script Parse() {
    Script script;
    std::set<std::string> names;
    for (;;) {
      SkipNewlines();
      Token token = lexer_.Peek();
      if (token.kind == Token::Kind::kEnd) Fail(token, "the script has no pipeline of stages");
      if (token.kind != Token::Kind::kName || token.text != "val") break;
      Declaration declaration = ParseDeclaration();
      if (!names.insert(declaration.name).second) {
        Fail(declaration.line, "'" + declaration.name + "' is declared twice");
      }
      script.declarations.push_back(std::move(declaration));
    }
    ParsePipeline(script);
    for (const StageCall& call : script.pipeline) {
      for (const StageArgument& argument : call.arguments) {
        if (argument.kind == StageArgument::Kind::kName && !names.count(argument.name)) {
          Fail(call.line, "'" + argument.name + "' in the stage '" + call.QualifiedName() +
                              "' is not declared");
        }
      }
    }
    return script;
  }

 private:
  [[noreturn]] void Fail(int line, const std::string& message) {
    throw ParseFailure{support::Error{"line " + std::to_string(line) + ": " + message, line, 0}};
  }
  [[noreturn]] void Fail(const Token& token, const std::string& message) {
    if (token.kind == Token::Kind::kError) {
      Fail(token.line, message + " (" + token.text + ")");
    }
    Fail(token.line, message);
  }
  [[noreturn]] void Expected(const std::string& what, const Token& found) {
    Fail(found, "expected " + what + ", found " + Describe(found));
  }

  void SkipNewlines() {
    while (lexer_.Peek().kind == Token::Kind::kNewline) lexer_.Next();
  }
  // Inside parentheses and braces a newline is only a blank.
  Token NextInGroup() {
    SkipNewlines();
    return lexer_.Next();
  }
  void ExpectSymbol(const std::string& symbol, const std::string& context, bool in_group) {
    Token token = in_group ? NextInGroup() : lexer_.Next();
    if (token.kind != Token::Kind::kSymbol || token.text != symbol) {
      Expected("'" + symbol + "' " + context, token);
    }
  }
  bool IsSymbol(const Token& token, const char* symbol) const {
    return token.kind == Token::Kind::kSymbol && token.text == symbol;
  }

  Declaration ParseDeclaration() {
    Token val = lexer_.Next();
    Declaration declaration;
    declaration.line = val.line;
    Token name = lexer_.Next();
    if (name.kind != Token::Kind::kName) Expected("a name after 'val'", name);
    declaration.name = name.text;
    ExpectSymbol("=", "after 'val " + name.text + "'", false);
    Token value = lexer_.TakeJson();
    if (value.kind == Token::Kind::kText && !value.text.empty() &&
        (value.text[0] == '{' || value.text[0] == '[')) {
      auto json = support::ParseJson(value.text);
      if (!json) {
        const int line = value.line + (json.error().line > 0 ? json.error().line - 1 : 0);
        Fail(line, "bad JSON in the declaration of '" + name.text + "': " + json.message());
      }
      declaration.json = std::move(*json);
    } else if (value.kind == Token::Kind::kError && value.text == "unclosed JSON value") {
      Fail(value, "the JSON value of '" + name.text + "' is not closed");
    } else if (value.kind == Token::Kind::kName && value.text == "ctx") {
      declaration.is_function = true;
      declaration.function = ParseFunctionAfterCtx(value.line);
    } else {
      Expected("a JSON object, a JSON array or a function after 'val " + name.text + " ='",
               value);
    }
    Token end = lexer_.Next();
    if (end.kind != Token::Kind::kNewline) {
      Expected("a newline after the declaration of '" + name.text + "'", end);
    }
    return declaration;
  }

  // `ctx` has been read: `=> x => ("name", expression)`.
  std::shared_ptr<const FunctionLiteral> ParseFunctionAfterCtx(int line) {
    auto function = std::make_shared<FunctionLiteral>();
    function->line = line;
    ExpectSymbol("=>", "after 'ctx'", false);
    Token x = lexer_.Next();
    if (x.kind != Token::Kind::kName || x.text != "x") Expected("'x' after 'ctx =>'", x);
    ExpectSymbol("=>", "after 'x'", false);
    ExpectSymbol("(", "to open the function's result", false);
    Token field = NextInGroup();
    if (field.kind != Token::Kind::kText) Expected("the result field's name in quotes", field);
    if (field.text.empty()) Fail(field, "the result field's name is empty");
    function->result_field = field.text;
    ExpectSymbol(",", "after the result field's name", true);
    function->body = ParseExpression();
    ExpectSymbol(")", "to close the function", true);
    return function;
  }

  Expression ParseExpression() {
    // Bounds the recursion, so a script of a million '(' gives a message, not a stack overflow.
    struct DepthGuard {
      int& depth;
      explicit DepthGuard(int& d) : depth(++d) {}
      ~DepthGuard() { --depth; }
    } guard(depth_);
    Token token = NextInGroup();
    if (depth_ > kMaxDepth) Fail(token, "expressions are nested too deeply");
    Expression expression;
    expression.line = token.line;
    if (token.kind == Token::Kind::kText) {
      expression.kind = Expression::Kind::kText;
      expression.text = token.text;
      return expression;
    }
    if (token.kind == Token::Kind::kNumber) {
      auto number = support::ParseNumber(token.text);
      if (!number) Fail(token, "'" + token.text + "' is not a number");
      expression.kind = Expression::Kind::kNumber;
      expression.number = *number;
      return expression;
    }
    if (token.kind != Token::Kind::kName) Expected("an expression", token);
    if (token.text == "match") return ParseMatch(token.line);
    if (token.text == "x" && IsSymbol(lexer_.Peek(), ".")) {
      lexer_.Next();
      Token field = lexer_.Peek().kind == Token::Kind::kText ? lexer_.Next()
                                                            : lexer_.TakeFieldName();
      if (field.kind != Token::Kind::kName && field.kind != Token::Kind::kText) {
        Expected("a field name after 'x.'", field);
      }
      expression.kind = Expression::Kind::kField;
      expression.text = field.text;
      return expression;
    }
    if (!IsSymbol(lexer_.Peek(), "(")) {
      Expected("'x.' and a field, a literal, a call or 'match'", token);
    }
    lexer_.Next();
    expression.kind = Expression::Kind::kCall;
    expression.text = token.text;
    if (SkipNewlines(), IsSymbol(lexer_.Peek(), ")")) {
      lexer_.Next();
      return expression;
    }
    for (;;) {
      expression.arguments.push_back(ParseExpression());
      Token next = NextInGroup();
      if (IsSymbol(next, ")")) break;
      if (!IsSymbol(next, ",")) Expected("',' or ')' in the call of '" + token.text + "'", next);
    }
    return expression;
  }

  Expression ParseMatch(int line) {
    Expression expression;
    expression.kind = Expression::Kind::kMatch;
    expression.line = line;
    ExpectSymbol("{", "after 'match'", true);
    for (;;) {
      Token token = NextInGroup();
      if (IsSymbol(token, "}")) break;
      if (token.kind != Token::Kind::kName || token.text != "case") {
        Expected("'case' or '}' in 'match'", token);
      }
      MatchCase match_case;
      Token peek = (SkipNewlines(), lexer_.Peek());
      if (peek.kind == Token::Kind::kName && peek.text == "_") {
        lexer_.Next();
      } else {
        match_case.left = std::make_unique<Expression>(ParseExpression());
        ExpectSymbol("==", "in the condition of 'case'", true);
        match_case.right = std::make_unique<Expression>(ParseExpression());
      }
      ExpectSymbol("=>", "after the condition of 'case'", true);
      match_case.result = std::make_unique<Expression>(ParseExpression());
      expression.cases.push_back(std::move(match_case));
    }
    if (expression.cases.empty()) Fail(line, "'match' has no 'case'");
    return expression;
  }

  void ParsePipeline(Script& script) {
    for (;;) {
      script.pipeline.push_back(ParseStage());
      Token token = lexer_.Next();
      if (IsSymbol(token, "->")) {
        SkipNewlines();
        if (lexer_.Peek().kind == Token::Kind::kEnd) return;  // a trailing arrow
        continue;
      }
      if (token.kind == Token::Kind::kNewline) {
        SkipNewlines();
        token = lexer_.Next();
      }
      if (token.kind == Token::Kind::kEnd) return;
      Expected("'->' or the end of the script after the stage '" +
                   script.pipeline.back().QualifiedName() + "'",
               token);
    }
  }

  StageCall ParseStage() {
    StageCall call;
    Token name = lexer_.Next();
    if (name.kind != Token::Kind::kName) Expected("a stage name", name);
    call.line = name.line;
    call.name = name.text;
    if (IsSymbol(lexer_.Peek(), ":")) {
      lexer_.Next();
      Token stage = lexer_.Next();
      if (stage.kind != Token::Kind::kName) {
        Expected("a stage name after '" + name.text + ":'", stage);
      }
      call.component = name.text;
      call.name = stage.text;
    }
    ExpectSymbol("(", "after the stage name '" + call.QualifiedName() + "'", false);
    for (;;) {
      Token token = NextInGroup();
      StageArgument argument;
      if (token.kind != Token::Kind::kName) {
        Expected("'_', a declared name or a function in the stage '" + call.QualifiedName() + "'",
                 token);
      }
      if (token.text == "_") {
        argument.kind = StageArgument::Kind::kNone;
      } else if (token.text == "ctx" && IsSymbol(lexer_.Peek(), "=>")) {
        argument.kind = StageArgument::Kind::kFunction;
        argument.function = ParseFunctionAfterCtx(token.line);
      } else {
        argument.kind = StageArgument::Kind::kName;
        argument.name = token.text;
      }
      call.arguments.push_back(std::move(argument));
      Token next = NextInGroup();
      if (IsSymbol(next, ")")) break;
      if (!IsSymbol(next, ",")) {
        Expected("',' or ')' in the stage '" + call.QualifiedName() + "'", next);
      }
    }
    return call;
  }

  static constexpr int kMaxDepth = 100;
  Lexer lexer_;
  int depth_ = 0;
};

}  // namespace

support::Result<Script> ParseScript(std::string_view text) {
  try {
    Parser parser(text);
    return parser.Parse();
  } catch (const ParseFailure& failure) {
    return failure.error;
  }
}

}  // namespace engine
