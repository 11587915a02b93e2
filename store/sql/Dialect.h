// What differs between the SQL of the backends, as the relational store
// writes it: how a write transaction takes the store's write lock, how a list
// is folded into one text, and the types of keys and numbers.
#pragma once

#include <string>

namespace xo::store::sql {

struct Dialect {
  std::string name;  // as `xopolicy store info` shows it
  // Begins a transaction that holds the store's one write lock, so that
  // writers queue instead of failing; and a transaction that reads one
  // snapshot of the store.
  std::string beginWrite;
  std::string beginRead;
  // An aggregate that joins texts with a separator: NAME(value, ' ').
  std::string joinTexts;
  // The column type of a row's sequence number, given in insertion order.
  std::string sequenceKey;
  // The list table's insertion order: an extra column that keeps it (with
  // its leading comma, or empty), and the expression to order by.
  std::string listSequenceColumn;
  std::string listOrder;
  // A 64-bit integer column; a text column compared byte by byte.
  std::string integer;
  std::string text;
  // A query giving the number of tables in the store's schema.
  std::string countTables;
  // Run after rows were written with their sequence numbers given, so that
  // the next row numbers on from them; TABLE stands for the table's name.
  // Empty where the database numbers on from the largest by itself.
  std::string sequenceAfterCopy;
};

}  // namespace xo::store::sql
