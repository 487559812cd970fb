#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Common/EntityToObjectMapper.h"
#include "QLMlib/common/unx/LineReader.h"

namespace agent {

/// Reads the tagged line format of definition and result files. The header block is read at once, into a
/// table of attribute names for each class; nodes are found, and their rows read, when they are asked for. No
/// tree is built: memory holds the header table and the rows of one entity. The grammar is told in
/// docs/file-formats.md.
///
/// Every operation moves the one read position and seeks first, so calls for different entities may be mixed
/// freely on one thread. For one entity call getEntityHeader, then getEntityData, then getEntityChildren: the
/// data must be read first because the children begin behind it.
class ParserAPI : public Object {
 public:
  static constexpr const char* CLASSNAME = "ParserAPI";
  static constexpr std::string_view OPEN_HEADER = "[Header]";
  static constexpr std::string_view CLOSE_HEADER = "[/Header]";
  static constexpr std::string_view beginNodeOpen = "[";
  static constexpr std::string_view endNodeOpen = "[/";
  static constexpr std::string_view nodeClose = "]";

  /// One node: what it is called and where it stands in the file, as byte offsets.
  struct Entity {
    std::string name;       ///< the class name
    int64_t dataPos = 0;    ///< behind the data rows that have been read so far
    int64_t startPos = 0;   ///< behind the open tag
    std::string qualifier;  ///< what the tag holds behind its comma, or empty
  };

  /// Opens the file and reads its header block.
  /// @throws VOXParserException 12 for an empty name, 13 when it can't be opened, 17 when it can't be read
  explicit ParserAPI(std::string file);

  /// The same without the test for an empty name.
  /// @param needNumEntities count the nodes into entityTable instead of reading the header block
  ParserAPI(std::string file, bool needNumEntities);

  /// The next open tag from the current position on, at whatever depth; nothing at the end of the file.
  /// @param lookForHeader pass over "[/Header]" first
  /// @throws VOXParserException 17
  std::optional<Entity> findFirstEntity(bool lookForHeader);

  /// Passes over the whole rest of `ef`, children included, and gives the open tag that follows; without `ef`
  /// the next one from the current position. Meant for nodes of the top level: behind the last child it goes
  /// on to what follows the parent.
  /// @throws VOXParserException 17
  std::optional<Entity> findNextEntity(const std::optional<Entity>& ef);

  /// The attribute names of the entity's class; valid until closeFile.
  /// @throws VOXParserException 321 when the header block has no row for it
  const HeaderRow& getEntityHeader(const Entity& entity) const;

  /// The entity's rows; moves its dataPos behind them.
  /// @param rows how many; -1 means all. With a limit the next call goes on behind the last row read.
  /// @throws VOXParserException 17
  Rows getEntityData(Entity& entity, int rows = -1);

  /// The entity's direct children, in file order.
  /// @throws VOXParserException 17
  std::vector<Entity> getEntityChildren(const Entity& entity);

  /// Closes the file and empties the header table.
  void closeFile();

  /// The number of the line that holds the entity's open tag, counted from 1; for messages about its rows. As
  /// far as the file can be read: throws nothing.
  int64_t lineNumber(const Entity& entity);

  /// Class tags of closed nodes under running numbers from 0; filled only where the constructor was asked to.
  const std::map<int, std::string>& entityTable() const { return entityTable_; }

  /// The cells of a data row. Commas inside double quotes belong to the cell; a doubled quote inside stands
  /// for one; null without quotes is an empty cell. A cell of no characters is no cell: the ones behind it
  /// move up.
  static Row splitLine(std::string_view line);

 private:
  void initialize(bool needNumEntities);
  void readHeaderBlock();
  void countEntities();
  Entity entityHere(std::string name, std::string qualifier) const;
  std::optional<std::string_view> nextLine(const char* operation);
  void seek(int64_t position, const char* operation);
  int64_t linesUpTo(int64_t position);
  [[noreturn]] void throwFileFailure(const char* call, const char* operation, int64_t line) const;

  std::string fileName_;
  LineReader raf_;
  std::map<int, std::string> entityTable_;
  std::unordered_map<std::string, HeaderRow> headerTable_;
};

}  // namespace agent
