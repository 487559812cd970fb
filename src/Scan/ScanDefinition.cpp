#include "Scan/ScanDefinition.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "Common/ComputerID.h"
#include "Common/ParserAPI.h"
#include "Common/ScanVOXTags.h"
#include "Common/VOXParserException.h"
#include "Common/VoxObjectCreationException.h"
#include "Probe/NasFiler.h"
#include "QLMlib/common/ut/MemoryReserve.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

using Entity = ParserAPI::Entity;

/// Builds an AgentScan from the nodes of one file.
class DefinitionReader {
 public:
  DefinitionReader(const std::string& fileName, DefinitionPlace& place) : parser_(fileName), place_(place) {}

  void read(AgentScan& scan) {
    std::optional<Entity> entity;
    while ((entity = parser_.findNextEntity(entity))) {
      if (entity->name == ScanVOXTags::AS) readAgentScan(scan, *entity);
    }
  }

 private:
  /// Fills a record, then gives the entity's children, which stand behind its rows.
  template <typename Record>
  std::vector<Entity> fill(Record& record, Entity& entity) {
    const HeaderRow& header = headerOf(entity);
    const Rows rows = parser_.getEntityData(entity);
    try {
      if constexpr (requires { record.inititializeObject(header, rows); }) {
        record.inititializeObject(header, rows);
      } else {
        record.initializeObject(header, rows);
      }
    } catch (const VoxObjectCreationException&) {
      tellBadRow(entity, header, rows);
      throw;
    }
    return parser_.getEntityChildren(entity);
  }

  const HeaderRow& headerOf(const Entity& entity) {
    try {
      return parser_.getEntityHeader(entity);
    } catch (const VOXParserException&) {
      place_ = {.line = parser_.lineNumber(entity), .className = entity.name};
      throw;
    }
  }

  /// Rows stand one below the other behind their open tag. Without any it is the first that is wrong.
  void tellBadRow(const Entity& entity, const HeaderRow& header, const Rows& rows) {
    const auto bad = std::find_if(rows.begin(), rows.end(),
                                  [&header](const Row& row) { return row.size() != header.size(); });
    place_ = {.line = parser_.lineNumber(entity) + 1 + (bad - rows.begin()),
              .className = entity.name,
              .columns = header.size(),
              .cells = bad == rows.end() ? 0 : bad->size()};
  }

  void readAgentScan(AgentScan& scan, Entity& entity) {
    for (Entity& child : fill(scan, entity)) {
      endWhereMemoryIsShort();
      // File systems and directories go to the head of their lists, statistics to the tail.
      if (child.name == ScanVOXTags::FILESYSTEM) {
        scan.getFilesystems().push_front(readFilesystem(child));
      } else if (child.name == ScanVOXTags::SD) {
        scan.getStatistics().push_back(readStatistic(child));
      } else if (child.name == ScanVOXTags::MDS) {
        auto spec = std::make_unique<MonDirSpec>();
        fill(*spec, child);
        scan.getDirectories().push_front(std::move(spec));
      }
    }
  }

  std::unique_ptr<Filesystem> readFilesystem(Entity& entity) {
    auto filesystem = std::make_unique<Filesystem>();
    for (Entity& child : fill(*filesystem, entity)) {
      if (child.name == ScanVOXTags::NAS_FILER) filesystem->filer = readFiler(child);
    }
    filesystem->fsScanningCompID = ComputerID::cachedId();
    return filesystem;
  }

  std::unique_ptr<NasFiler> readFiler(Entity& entity) {
    auto filer = std::make_unique<NasFiler>();
    for (Entity& child : fill(*filer, entity)) {
      if (child.name == ScanVOXTags::LDAP_TREE) {
        filer->ldapTree = std::make_unique<LdapTree>();
        fill(*filer->ldapTree, child);
      } else if (child.name == ScanVOXTags::DOM) {
        filer->nfDomain.push_back(std::make_unique<Domain>());
        fill(*filer->nfDomain.back(), child);
      } else if (child.name == ScanVOXTags::FILESYSTEM) {
        Filesystem checkedOnly;
        fill(checkedOnly, child);
      }
    }
    return filer;
  }

  std::unique_ptr<CuStatDef> readStatistic(Entity& entity) {
    auto definition = std::make_unique<CuStatDef>();
    for (Entity& child : fill(*definition, entity)) {
      if (child.name == ScanVOXTags::RESULTSBYFS) {
        definition->sdResults.prepend(std::make_unique<ResultsByFS>(readSource(child)));
      }
    }
    return definition;
  }

  /// The file system that a restricted statistic names; null when its first child is something else. The node
  /// has no row, so no header is looked up for it.
  std::unique_ptr<Filesystem> readSource(Entity& entity) {
    parser_.getEntityData(entity);
    std::vector<Entity> children = parser_.getEntityChildren(entity);
    if (children.empty() || children.front().name != ScanVOXTags::FILESYSTEM) return nullptr;
    auto source = std::make_unique<Filesystem>();
    fill(*source, children.front());
    return source;
  }

  ParserAPI parser_;
  DefinitionPlace& place_;
};

}  // namespace

std::unique_ptr<AgentScan> readScanDefinition(const std::string& fileName, DefinitionPlace& place) {
  TRACE_SCOPE("readScanDefinition()");
  TRACE(TR_MAX, "---- initializing ParserAPI ----\n");
  TRACE(TR_MAX, "fileName = %s\n", fileName.c_str());
  auto scan = std::make_unique<AgentScan>();
  DefinitionReader(fileName, place).read(*scan);
  return scan;
}

}  // namespace agent
