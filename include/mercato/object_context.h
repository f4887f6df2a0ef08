// SPDX-License-Identifier: Apache-2.0
// The transaction server: contexts, votes, and the transactions that they decide. Contexts live on the thread that made
// them.
//
// An object created as a root has a context of its own; objects created through CreateInstance share its transaction. A
// call on the object that began the transaction, in which it votes, ends the transaction: committed unless some
// participant's last vote is abort. Without a vote the transaction goes on, and ends with that object by the same rule.
#pragma once

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "mercato/class_table.h"
#include "mercato/export.h"

namespace mercato {

/// What an object said of its transaction.
enum class Vote { none, commit, abort };
/// What became of an object's transaction.
enum class Outcome {
  none,        ///< the object has no transaction
  open,        ///< a transaction exists and goes on
  committed,   ///< what was done stands
  rolledback,  ///< what was done is taken back
};

class Activity;  // what the objects of one root share: the transaction, when there is one

/// What the transaction server keeps of one object. Lives on the thread that made it.
class MERCATO_API ObjectContext : public std::enable_shared_from_this<ObjectContext> {
 public:
  /// For the transaction server; hosts call create_root or make a Root.
  ObjectContext(std::shared_ptr<Activity> activity, bool owns_transaction);
  ~ObjectContext();
  ObjectContext(const ObjectContext&) = delete;
  ObjectContext& operator=(const ObjectContext&) = delete;

  /// Creates a component inside this context. Raises 429 when nobody answers to the ProgID.
  ComponentPtr CreateInstance(std::string_view iProgId);
  /// Votes that the transaction may commit.
  void SetComplete() { vote(Vote::commit); }
  /// Votes that the transaction rolls back.
  void SetAbort() { vote(Vote::abort); }
  /// The web application's object for "Application"; raises 5 when there is none, or for another name.
  ObjectPtr Item(std::string_view iName);

  /// The object's last vote since the transaction began.
  Vote last_vote() const { return last_vote_; }
  /// Its last vote in the call that ended last; `none` when it did not vote there.
  Vote vote_of_last_call() const { return vote_of_last_call_; }
  /// What became of the transaction when that call ended.
  Outcome outcome_of_last_call() const { return outcome_of_last_call_; }

  /// Ends an open transaction of an object that goes away. Raises what a failing commit raises.
  Outcome release();

 private:
  friend class ContextCall;
  friend class Activity;
  void vote(Vote vote);

  std::shared_ptr<Activity> activity_;
  bool owns_transaction_;        // it began the transaction: its votes end it
  int depth_ = 0;                // calls of this object that are under way
  Vote last_vote_ = Vote::none;  // since the transaction began
  Vote vote_of_last_call_ = Vote::none;
  Outcome outcome_of_last_call_ = Outcome::none;
};

/// The context of the object whose method runs on this thread, or null outside of the transaction server.
MERCATO_API ObjectContext* GetObjectContext();

/// One call of an object under its context; without a context it does nothing.
class MERCATO_API ContextCall {
 public:
  /// Begins the call.
  explicit ContextCall(std::shared_ptr<ObjectContext> context);
  /// Of a call that failed or was not finished the vote counts all the same; a failing commit is swallowed.
  ~ContextCall();
  ContextCall(const ContextCall&) = delete;
  ContextCall& operator=(const ContextCall&) = delete;
  /// Ends the call. Raises what a failing commit raises.
  void finish();

 private:
  struct MERCATO_INTERNAL State;
  void leave();

  std::shared_ptr<ObjectContext> context_;
  std::unique_ptr<State> state_;
};

/// A new object under a context of its own. Raises 429 when nobody answers to the ProgID.
MERCATO_API ComponentPtr create_root(std::string_view prog_id);
/// The same for a class whose table is at hand.
MERCATO_API ComponentPtr create_root(const ClassTable& table);
/// An object without any context. Raises 429.
MERCATO_API ComponentPtr create_plain(std::string_view prog_id);

/// What contexts answer for Item("Application") on this thread; null for nothing.
MERCATO_API void set_application(ObjectPtr application);

/// An owning handle of a root object for C++ hosts: each `->` is one call under the object's context.
///
///     Root<Product> product;
///     const DictionaryPtr fields = product->GetProductEx(5);
template <class T>
class Root {
 public:
  /// One call, from `->` to the end of the expression.
  class Call {
   public:
    /// Begins the call.
    explicit Call(T& object) : object_(object), call_(object.context()), failing_(std::uncaught_exceptions()) {}
    /// Ends the call. Raises what a failing commit raises, unless the call failed already.
    ~Call() noexcept(false) {
      if (std::uncaught_exceptions() == failing_) call_.finish();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    /// The object whose method is called.
    T* operator->() const { return &object_; }

   private:
    T& object_;
    ContextCall call_;
    int failing_;
  };

  /// A new object. Raises what making it raises.
  Root() : object_(std::static_pointer_cast<T>(create_root(T::table()))) {}
  /// Begins a call.
  Call operator->() const { return Call(*object_); }
  /// The object itself, for calls without a context.
  const std::shared_ptr<T>& object() const { return object_; }
  /// Its context: votes and outcome of the last call.
  const ObjectContext& context() const { return *object_->context(); }

 private:
  std::shared_ptr<T> object_;
};

}  // namespace mercato
