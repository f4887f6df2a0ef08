// SPDX-License-Identifier: Apache-2.0
#include "mercato/object_context.h"

#include <algorithm>
#include <optional>

#include "mercato/raised_error.h"
#include "mercato/registry.h"
#include "platform/store/call_limit.h"
#include "platform/store/unit_of_work.h"

namespace mercato {
namespace {

thread_local ObjectContext* current_context = nullptr;
thread_local ObjectPtr current_application;

const ClassTable& class_of(std::string_view prog_id) {
  return raising_out_of_memory([&]() -> const ClassTable& {
    const ClassTable* table = registered_class(prog_id);
    if (!table)
      raise(error_number::kCannotCreateObject, {},
            "Component can't create object: nobody answers to '" + std::string(prog_id) + "'");
    return *table;
  });
}

}  // namespace

class Activity {
 public:
  void join(ObjectContext& context) { participants_.push_back(&context); }
  void leave(ObjectContext& context) { std::erase(participants_, &context); }

  // The transaction of a call. Begins one when there is none yet.
  store::UnitOfWork& unit() {
    if (!unit_) unit_ = std::make_unique<store::UnitOfWork>(store::UnitOfWork::Kind::transaction);
    return *unit_;
  }
  bool is_open() const { return unit_ != nullptr; }
  // For the time between two calls.
  void release_unused_sessions() noexcept {
    if (unit_) unit_->release_unused();
  }

  // Ends the transaction as the votes say. The votes are used up then, also those of objects that no longer exist.
  Outcome end() {
    const bool aborted = abort_of_the_gone_ ||
                         std::any_of(participants_.begin(), participants_.end(), [](const ObjectContext* participant) {
                           return participant->last_vote_ == Vote::abort;
                         });
    for (ObjectContext* participant : participants_) participant->last_vote_ = Vote::none;
    abort_of_the_gone_ = false;
    const auto unit = std::exchange(unit_, nullptr);
    if (!unit) return Outcome::none;
    if (aborted)
      unit->rollback();
    else
      unit->commit();
    return aborted ? Outcome::rolledback : Outcome::committed;
  }

  void remember_vote_of(const ObjectContext& context) {
    if (context.last_vote_ == Vote::abort) abort_of_the_gone_ = true;
  }

 private:
  std::vector<ObjectContext*> participants_;
  std::unique_ptr<store::UnitOfWork> unit_;
  bool abort_of_the_gone_ = false;
};

ObjectContext::ObjectContext(std::shared_ptr<Activity> activity, bool owns_transaction)
    : activity_(std::move(activity)), owns_transaction_(owns_transaction) {
  if (activity_) activity_->join(*this);
}

ObjectContext::~ObjectContext() {
  if (!activity_) return;
  try {
    release();
  } catch (...) {
    // The store has rolled back. Nobody is left to be told.
  }
  activity_->remember_vote_of(*this);
  activity_->leave(*this);
}

Outcome ObjectContext::release() {
  return owns_transaction_ && activity_->is_open() ? activity_->end() : Outcome::none;
}

void ObjectContext::vote(Vote vote) {
  last_vote_ = vote;
  vote_of_last_call_ = vote;
}

ComponentPtr ObjectContext::CreateInstance(std::string_view iProgId) {
  const ClassTable& table = class_of(iProgId);
  // A class that requires a transaction begins its own when there is none to join.
  const bool begins = !activity_ && table.attribute() == TransactionAttribute::required;
  return raising_out_of_memory([&] {
    auto object = table.create();
    object->set_context(std::make_shared<ObjectContext>(begins ? std::make_shared<Activity>() : activity_, begins));
    return object;
  });
}

ObjectPtr ObjectContext::Item(std::string_view iName) {
  if (iName != "Application" || !current_application)
    raise(error_number::kInvalidArgument, {}, "The context has no item '" + std::string(iName) + "'");
  return current_application;
}

ObjectContext* GetObjectContext() { return current_context; }

struct ContextCall::State {
  explicit State(ObjectContext* context, store::UnitOfWork* unit) {
    if (unit) current_unit.emplace(unit);  // may raise: the context must not be current yet
    previous_context = std::exchange(current_context, context);
  }
  ~State() { current_context = previous_context; }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  store::OutermostCall call;
  ObjectContext* previous_context = nullptr;
  std::optional<store::UnitOfWork::Current> current_unit;
};

ContextCall::ContextCall(std::shared_ptr<ObjectContext> context) : context_(std::move(context)) {
  if (!context_) return;
  // An object without a transaction of its own works in whatever its caller works in.
  raising_out_of_memory([this] {
    store::UnitOfWork* unit = context_->activity_ ? &context_->activity_->unit() : nullptr;
    state_ = std::make_unique<State>(context_.get(), unit);
  });
  if (context_->depth_++ == 0) context_->vote_of_last_call_ = Vote::none;
}

void ContextCall::leave() {
  state_.reset();
  ObjectContext& context = *context_;
  const auto keep = std::exchange(context_, nullptr);
  if (--context.depth_ > 0) return;
  if (!context.activity_) {
    context.outcome_of_last_call_ = Outcome::none;
  } else if (context.owns_transaction_ && context.vote_of_last_call_ != Vote::none) {
    context.outcome_of_last_call_ = Outcome::rolledback;  // stands when the commit fails
    context.outcome_of_last_call_ = context.activity_->end();
  } else {
    context.outcome_of_last_call_ = Outcome::open;
    // Objects that only read may be many, and may live long.
    if (context.owns_transaction_) context.activity_->release_unused_sessions();
  }
}

void ContextCall::finish() {
  if (context_) raising_out_of_memory([this] { leave(); });
}

ContextCall::~ContextCall() {
  try {
    finish();
  } catch (...) {
    // The call's own failure is what its caller gets; the store has rolled back.
  }
}

ComponentPtr create_root(const ClassTable& table) {
  return raising_out_of_memory([&] {
    const bool required = table.attribute() == TransactionAttribute::required;
    auto object = table.create();
    object->set_context(std::make_shared<ObjectContext>(required ? std::make_shared<Activity>() : nullptr, required));
    return object;
  });
}

ComponentPtr create_root(std::string_view prog_id) { return create_root(class_of(prog_id)); }

ComponentPtr create_plain(std::string_view prog_id) {
  return raising_out_of_memory([&] { return class_of(prog_id).create(); });
}

void set_application(ObjectPtr application) { current_application = std::move(application); }

}  // namespace mercato
