// The grammar of variables and procedures.
#include <algorithm>

#include "tsql/syntax/parser.h"
#include "tsql/syntax/system_variables.h"

namespace ledgerwick::tsql {
namespace {

// A type without a length, of a variable or a parameter, holds one character.
Type WithLength(Type type) {
  if ((IsText(type.kind) || IsBinary(type.kind)) && type.length == 0) type.length = 1;
  return type;
}

// The operator of `symbol`, of either precedence; Null where it is none.
ExprKind OperatorOf(Symbol symbol) noexcept {
  const ExprKind additive = AdditiveOf(symbol);
  return additive != ExprKind::Null ? additive : MultiplicativeOf(symbol);
}

}  // namespace

Name Parser::ExpectVariable() {
  if (Current().kind != TokenKind::Variable) Fail();
  const Name name{Current().text, Current().offset};
  Advance();
  return name;
}

std::int32_t Parser::DeclareVariable(const Name& name, const Type& type) {
  const std::int32_t slot = kSystemVariables + static_cast<std::int32_t>(variable_types_.size());
  if (!variable_slots_.emplace(name.text, slot).second) {
    throw errors::DeclaredTwice(name.text, At(name.offset));
  }
  variable_types_.push_back(type);
  return slot;
}

// A variable that is read or assigned. It must have been declared further up.
Expr* Parser::VariableRule() {
  const Name name = ExpectVariable();
  Expr* expr = NewExpr(ExprKind::Variable, name.offset);
  expr->text = name.text;
  Finish(expr);
  const auto known = variable_slots_.find(name.text);
  if (known != variable_slots_.end()) {
    expr->slot = known->second;
    expr->type = variable_types_[static_cast<std::size_t>(known->second - kSystemVariables)];
  } else if (const SystemVariableName* system = FindSystemVariable(name.text)) {
    expr->slot = static_cast<std::int32_t>(system->variable);
    expr->type = system->type;
  } else if (const SessionFactName* fact = FindSessionFact(name.text)) {
    return FactRule(*fact, name);
  } else {
    throw errors::MustDeclare(name.text, At(name.offset));
  }
  variable_uses_.push_back(expr);
  return expr;
}

// @@VERSION and the like: the fact of that name, as its type.
Expr* Parser::FactRule(const SessionFactName& fact, const Name& name) {
  Expr* literal = NewExpr(ExprKind::String, name.offset);
  literal->text = fact.name;
  Expr* call = NewExpr(ExprKind::Function, {literal});
  call->text = u"serverproperty";
  Expr* typed = NewExpr(ExprKind::Convert, {call});
  typed->text = name.text;
  typed->type = fact.type;
  for (Expr* part : {call, typed}) part->offset = name.offset;
  Finish(typed);
  return typed;
}

bool Parser::AtAssignment() const noexcept {
  if (Current().kind != TokenKind::Variable) return false;
  return Ahead(1).symbol == Symbol::Equal ||
         (OperatorOf(Ahead(1).symbol) != ExprKind::Null && Ahead(2).symbol == Symbol::Equal);
}

// The system's variables are read only.
void Parser::RequireAssignable(const Expr& variable) const {
  if (variable.slot < kSystemVariables) {
    throw errors::IncorrectSyntax(variable.text, At(variable.offset));
  }
}

Expr* Parser::AssignedVariable() {
  Expr* variable = VariableRule();
  RequireAssignable(*variable);
  return variable;
}

// "= value", or "+= value" and the like.
Expr* Parser::AssignedValue(const Expr& variable) {
  RequireAssignable(variable);
  const ExprKind operation = OperatorOf(Current().symbol);
  if (operation != ExprKind::Null) Advance();
  Expect(Symbol::Equal);
  Expr* value = Value();
  if (operation == ExprKind::Null) return value;
  Expr* read = arena_.Make<Expr>(variable);
  variable_uses_.push_back(read);
  return NewExpr(operation, {read, value});
}

Statement* Parser::Declare() {
  auto* statement = NewStatement<AssignStatement>();
  Expect(Keyword::Declare);
  ArenaList<VariableAssignment> assignments(arena_);
  do {
    const Name name = ExpectVariable();
    Accept(Keyword::As);
    if (IsWord(u"text") || IsWord(u"ntext") || IsWord(u"image")) {
      throw errors::TextVariable(At(Current().offset));
    }
    const Type type = WithLength(TypeRule());
    Expr* value = nullptr;
    if (Accept(Symbol::Equal)) value = Value();
    const std::int32_t slot = DeclareVariable(name, type);
    if (value == nullptr) continue;
    Expr* variable = NewExpr(ExprKind::Variable, name.offset);
    variable->text = name.text;
    variable->slot = slot;
    variable->type = type;
    assignments.push_back({variable, value});
  } while (Accept(Symbol::Comma));
  statement->variables = assignments.items();
  return statement;
}

Statement* Parser::SetVariable() {
  auto* statement = NewStatement<AssignStatement>();
  Expect(Keyword::Set);
  Expr* variable = VariableRule();
  statement->variables = arena_.Copy({VariableAssignment{variable, AssignedValue(*variable)}});
  return statement;
}

Statement* Parser::Execute() {
  const bool text = Ahead(1).symbol == Symbol::LeftParen;
  return text ? ExecuteText() : ExecuteProcedure();
}

// EXEC ('text' + @variable + …): nothing but texts and variables.
Statement* Parser::ExecuteText() {
  auto* statement = NewStatement<ExecuteTextStatement>();
  Advance();
  Expect(Symbol::LeftParen);
  ArenaList<const Expr*> parts(arena_);
  do {
    const TokenKind kind = Current().kind;
    if (kind == TokenKind::Variable) {
      parts.push_back(VariableRule());
    } else if (kind == TokenKind::String || kind == TokenKind::NationalString) {
      parts.push_back(Literal());
    } else {
      Fail();
    }
  } while (Accept(Symbol::Plus));
  Expect(Symbol::RightParen);
  statement->parts = parts.items();
  return statement;
}

Statement* Parser::ExecuteProcedure() {
  auto* statement = NewStatement<ExecuteProcedureStatement>();
  if (!IsName()) Advance();  // EXEC
  if (Current().kind == TokenKind::Variable && Ahead(1).symbol == Symbol::Equal) {
    statement->result = AssignedVariable();
    Advance();
  }
  if (Current().kind == TokenKind::Variable) {
    statement->name_variable = VariableRule();
  } else {
    statement->target = ObjectNameRule();
  }
  const auto at_argument = [&] {
    const TokenKind kind = Current().kind;
    return kind == TokenKind::Variable || kind == TokenKind::String ||
           kind == TokenKind::NationalString || kind == TokenKind::Integer ||
           kind == TokenKind::Decimal || kind == TokenKind::Float || kind == TokenKind::Binary ||
           Is(Symbol::Minus) || Is(Symbol::Plus) || Is(Keyword::Null) || Is(Keyword::Default) ||
           IsName();
  };
  ArenaList<Argument> arguments(arena_);
  if (at_argument()) {
    do {
      arguments.push_back(ArgumentRule());
    } while (Accept(Symbol::Comma));
  }
  statement->arguments = arguments.items();
  return statement;
}

Argument Parser::ArgumentRule() {
  Argument argument;
  argument.offset = Current().offset;
  if (Current().kind == TokenKind::Variable && Ahead(1).symbol == Symbol::Equal) {
    argument.name = ExpectVariable();
    Advance();
  }
  if (!Accept(Keyword::Default)) {
    argument.value = Constant();
    argument.output = AcceptWord(u"OUTPUT") || AcceptWord(u"OUT");
    const Expr& receiver = *argument.value;
    if (argument.output && receiver.kind != ExprKind::Variable) {
      throw errors::OutputOfConstant(At(argument.offset));
    }
    if (argument.output) RequireAssignable(receiver);
  }
  return argument;
}

// What an argument may be: a literal, a variable, or a word, which is a text.
Expr* Parser::Constant() {
  const std::uint32_t offset = Current().offset;
  if (Is(Symbol::Minus) || Is(Symbol::Plus)) {
    const bool minus = Is(Symbol::Minus);
    Advance();
    const TokenKind kind = Current().kind;
    if (kind != TokenKind::Integer && kind != TokenKind::Decimal && kind != TokenKind::Float) {
      Fail();
    }
    Expr* number = Literal();
    if (!minus) return number;
    Expr* expr = NewExpr(ExprKind::Negate, {number});
    expr->offset = offset;
    return expr;
  }
  if (Current().kind == TokenKind::Variable) return VariableRule();
  if (IsName()) {
    const Name word = ExpectName();
    Expr* expr = NewExpr(ExprKind::String, offset);
    expr->text = word.text;
    expr->national = true;
    Finish(expr);
    return expr;
  }
  if (Is(Keyword::Null)) {
    Advance();
    return NewExpr(ExprKind::Null, offset);
  }
  const TokenKind kind = Current().kind;
  if (kind != TokenKind::String && kind != TokenKind::NationalString &&
      kind != TokenKind::Integer && kind != TokenKind::Decimal && kind != TokenKind::Float &&
      kind != TokenKind::Binary) {
    Fail();
  }
  return Literal();
}

Parameter Parser::ParameterRule() {
  Parameter parameter;
  parameter.name = ExpectVariable();
  Accept(Keyword::As);
  parameter.type = WithLength(TypeRule());
  parameter.slot = DeclareVariable(parameter.name, parameter.type);
  if (Accept(Symbol::Equal)) {
    if (Current().kind == TokenKind::Variable) Fail();  // a default is a constant
    parameter.default_value = Constant();
  }
  parameter.output = AcceptWord(u"OUTPUT") || AcceptWord(u"OUT");
  return parameter;
}

std::span<const Parameter> Parser::Parameters() {
  ArenaList<Parameter> parameters(arena_);
  do {
    parameters.push_back(ParameterRule());
  } while (Accept(Symbol::Comma));
  return parameters.items();
}

std::span<const Parameter> Parser::ParseParameters() {
  if (Current().kind == TokenKind::End) return {};
  const std::span<const Parameter> parameters = Parameters();
  if (Current().kind != TokenKind::End) Fail();
  return parameters;
}

// The body goes on to the end of the batch.
Statement* Parser::Procedure(bool alters) {
  const Token first = Current();
  if (at_ != 0) throw errors::NotFirstInBatch(At(first.offset));
  auto* statement = NewStatement<ProcedureStatement>();
  statement->alters = alters;
  Advance();
  Advance();
  statement->target = ObjectNameRule();
  in_procedure_ = true;
  try {
    const bool parenthesised = Accept(Symbol::LeftParen);
    if (Current().kind == TokenKind::Variable) statement->parameters = Parameters();
    if (parenthesised) Expect(Symbol::RightParen);
    if (Accept(Keyword::With)) {
      do {
        ExpectName();  // RECOMPILE, ENCRYPTION
      } while (Accept(Symbol::Comma));
    }
    Expect(Keyword::As);
    ArenaList<const Statement*> body(arena_);
    for (;;) {
      while (Accept(Symbol::Semicolon)) {
      }
      if (Current().kind == TokenKind::End) break;
      body.push_back(ParseStatement());
    }
    statement->body = body.items();
  } catch (SqlError& error) {
    if (error.procedure.empty()) error.procedure = ToUtf8(statement->target.object.text);
    throw;
  }
  // Lines count from the beginning of the batch, comments before the statement included.
  statement->text = batch_;
  return statement;
}

}  // namespace ledgerwick::tsql
