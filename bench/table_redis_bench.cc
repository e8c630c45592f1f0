// Redis over a socket, in two forms: a row as one field of a hash, and a counter as one. What a
// client has to do to have a row in its memory is part of it.
//
// Another process is at work in any case, the server itself: there are no others.
#include <hiredis/hiredis.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/redis_server.h"
#include "bench/table_bench.h"

namespace Bench {

namespace {

enum class Form { row, counters };
// Rows a round trip.
constexpr std::size_t pipelined = 64;
// A round is shorter than elsewhere, and goes on in the order where the last one ended.
constexpr std::size_t visitsOneByOne = 128;
constexpr std::size_t visitsPipelined = 1024;

struct Free {
  void operator()(redisReply* reply) const { freeReplyObject(reply); }
};
using Reply = std::unique_ptr<redisReply, Free>;

class Command {
 public:
  // What it points to must live until it is appended.
  void add(void const* bytes, std::size_t length) {
    _parts.push_back(static_cast<char const*>(bytes));
    _lengths.push_back(length);
  }
  void add(std::string const& text) { add(text.data(), text.size()); }
  void clear() {
    _parts.clear();
    _lengths.clear();
  }
  void append(redisContext* to) {
    int const error =
        redisAppendCommandArgv(to, static_cast<int>(_parts.size()), _parts.data(), _lengths.data());
    expect(error == REDIS_OK, "redis: a command was not taken");
  }

 private:
  std::vector<char const*> _parts;
  std::vector<std::size_t> _lengths;
};

std::string const set = "HSET", get = "HGET", getAll = "HGETALL", rowField = "row";

template <class Record>
class RedisRows {
 public:
  RedisRows(redisContext* connection, SampleRows<Record>& sample, Form form)
      : _connection(connection), _sample(sample), _form(form) {
    for (std::size_t i = 0; i < sample.count(); ++i) {
      _names.push_back("row:" + std::to_string(i));
      _absentNames.push_back("absent:" + std::to_string(i));
    }
    for (std::size_t i = 0; i < sample.rows[0].counts.size(); ++i) {
      _fields.push_back("c" + std::to_string(i));
    }
    appendOne("FLUSHALL");
    reply();
    for (std::size_t i = 0; i < sample.count(); ++i) {
      askWrite(i);
      takeWrite();
    }
  }

  void askWrite(std::size_t i) {
    _command.clear();
    _command.add(set);
    _command.add(_names[i]);
    if (_form == Form::row) {
      _command.add(rowField);
      _command.add(&_sample.rows[i], sizeof(Record));
    } else {
      auto const& values = _sample.rows[i].counts;
      for (std::size_t n = 0; n < values.size(); ++n) {
        _command.add(_fields[n]);
        _command.add(&values[n], sizeof values[n]);
      }
    }
    _command.append(_connection);
  }
  void takeWrite() { expect(reply()->type == REDIS_REPLY_INTEGER, "redis: a write failed"); }

  void askLookup(std::size_t i, bool absent = false) {
    _command.clear();
    _command.add(_form == Form::row ? get : getAll);
    _command.add(absent ? _absentNames[i] : _names[i]);
    if (_form == Form::row) _command.add(rowField);
    _command.append(_connection);
  }
  // Fields come in an order of the server's own.
  void takeLookup(std::size_t i, Record& out) {
    Reply const got = reply();
    if (_form == Form::row) {
      expect(got->type == REDIS_REPLY_STRING && got->len == sizeof(Record), "redis: no row");
      std::memcpy(static_cast<void*>(&out), got->str, sizeof(Record));
      return;
    }
    out.key = _sample.keys[i];
    auto& values = out.counts;
    expect(got->type == REDIS_REPLY_ARRAY && got->elements == 2 * values.size(), "redis: no row");
    for (std::size_t n = 0; n < got->elements; n += 2) {
      std::size_t const field = std::strtoul(got->element[n]->str + 1, nullptr, 10);
      std::memcpy(&values[field], got->element[n + 1]->str, sizeof values[field]);
    }
  }
  void takeMiss() { expect(reply()->type == REDIS_REPLY_NIL, "redis: an absent row was found"); }

  void expectContent() {
    Record row;
    for (std::size_t i = 0; i < _sample.count(); ++i) {
      askLookup(i);
      takeLookup(i, row);
      expect(row == _sample.rows[i], "redis: a row is not the one that was written");
    }
  }

 private:
  void appendOne(std::string const& word) {
    _command.clear();
    _command.add(word);
    _command.append(_connection);
  }
  Reply reply() {
    void* got = nullptr;
    if (redisGetReply(_connection, &got) != REDIS_OK) {
      throw std::runtime_error(std::string("redis: ") + _connection->errstr);
    }
    Reply owned(static_cast<redisReply*>(got));
    if (owned->type == REDIS_REPLY_ERROR) throw std::runtime_error(owned->str);
    return owned;
  }

  redisContext* _connection;
  SampleRows<Record>& _sample;
  Form _form;
  std::vector<std::string> _names, _absentNames, _fields;
  Command _command;
};

redisContext* connection() {
  static RedisServer const server;
  return server.connection();
}

// Asks for `batch` rows, then takes as many replies.
template <class Ask, class Take>
class Batches {
 public:
  Batches(std::size_t batch, Ask ask, Take take) : _batch(batch), _ask(ask), _take(take) {}

  void operator()(std::size_t i) {
    _ask(i);
    _asked.push_back(i);
    if (_asked.size() < _batch) return;
    for (std::size_t const asked : _asked) _take(asked);
    _asked.clear();
  }

 private:
  std::size_t _batch;
  Ask _ask;
  Take _take;
  std::vector<std::size_t> _asked;
};

std::size_t visits(std::size_t batch) { return batch == 1 ? visitsOneByOne : visitsPipelined; }

template <class Record>
void writes(benchmark::State& state, SampleRows<Record>& sample, Form form, std::size_t batch) {
  RedisRows<Record> rows(connection(), sample, form);
  sample.change();
  Batches write(
      batch, [&](std::size_t i) { rows.askWrite(i); }, [&](std::size_t) { rows.takeWrite(); });
  besideStores(state, sample, {.visits = visits(batch)}, [&](std::size_t i) { write(i); });
  sample.change();
  for (std::size_t i = 0; i < sample.count(); ++i) {
    rows.askWrite(i);
    rows.takeWrite();
  }
  rows.expectContent();
}

template <class Record>
void lookups(benchmark::State& state, SampleRows<Record>& sample, Form form, std::size_t batch) {
  RedisRows<Record> rows(connection(), sample, form);
  alignas(64) Record out;
  Batches lookup(
      batch, [&](std::size_t i) { rows.askLookup(i); },
      [&](std::size_t i) {
        rows.takeLookup(i, out);
        benchmark::DoNotOptimize(out);
      });
  besideLoads(state, sample, {.visits = visits(batch)}, [&](std::size_t i) { lookup(i); });
  rows.expectContent();
}

template <class Record>
void misses(benchmark::State& state, SampleRows<Record>& sample, std::size_t batch) {
  RedisRows<Record> rows(connection(), sample, Form::row);
  Batches miss(
      batch, [&](std::size_t i) { rows.askLookup(i, true); },
      [&](std::size_t) { rows.takeMiss(); });
  besideLoads(state, sample, {.visits = visits(batch)}, [&](std::size_t i) { miss(i); });
}

}  // namespace

bool registerRedis() {
  if (!RedisServer::installed()) return false;
  for (std::size_t const batch : {std::size_t{1}, pipelined}) {
    std::string const suffix = batch == 1 ? "" : "_pipelined";
    for (Form const form : {Form::row, Form::counters}) {
      std::string const who = (form == Form::row ? "/redis_row" : "/redis_counters") + suffix;
      forEachTable("write_by_key" + who, "", [form, batch](auto& state, auto& sample) {
        writes(state, sample, form, batch);
      });
      forEachTable("lookup" + who, "", [form, batch](auto& state, auto& sample) {
        lookups(state, sample, form, batch);
      });
    }
    forEachTable("miss/redis" + suffix, "",
                 [batch](auto& state, auto& sample) { misses(state, sample, batch); });
  }
  return true;
}

}  // namespace Bench
