"""Compares the result of one walk with one that is joined from slices: what slices and fleet-nodes go by. Not started
by itself. Times of scans are left out of account, ages on average count from these; of entries with equal keys any may
stand in a list's last places.
"""

import collections
import csv

TIMES = ("fsScanTime", "sumScanTime", "sugTimestamp", "tdScanTime")
# The key that a list goes by, and whether small ones are first.
KEYS = {"0": ("faBlocks", False), "1": ("faAccessed", True), "3": ("faBlocks", False), "4": ("faAccessed", True)}
# What one directory of its own changes in the record above it, in an order that no result tells.
ORDER_DEPENDENT = ("dirLargestSize", "dir2ndLargestSize")


class Node:
    def __init__(self, tag, names):
        self.tag, self.names, self.rows, self.children = tag, names, [], []

    def cell(self, name):
        return self.rows[0][self.names.index(name)]

    def below(self, tag):
        return [child for child in self.children if child.tag == tag]

    def cells(self, leave=()):
        """Everything that it says, as something to compare."""
        rows = tuple(tuple("" if name in TIMES or name in leave else cell for name, cell in zip(self.names, row))
                     for row in self.rows)
        return self.tag, rows, tuple(sorted((child.cells(leave) for child in self.children), key=repr))


def parsed(text):
    """@return the nodes of a result"""
    lines, columns, open_nodes = iter(text.split("\n")), {}, [Node("", [])]
    tag = next(lines)
    for line in lines:
        if line == "[/Header]":
            break
        if line.startswith("["):
            tag = line[1:-1]
        else:
            columns[tag] = line.split(",")
    for line in lines:
        if line.startswith("[/"):
            open_nodes.pop()
        elif line.startswith("[") and line.endswith("]"):
            tag = line[1:-1]
            names = columns.get("UserOrGroup" if tag in ("UserOrGroupUser", "UserOrGroupGroup") else tag, [])
            open_nodes[-1].children.append(Node(tag, names))
            open_nodes.append(open_nodes[-1].children[-1])
        elif line:
            open_nodes[-1].rows.append(next(csv.reader([line])))
    return open_nodes[0].children[0].children


class Comparison:
    """Of a single walk's result with a joined one."""

    def __init__(self, single, joined, seconds=5):
        """@param seconds within which the slices' walks have begun"""
        self.found, self.seconds = [], seconds
        self.nodes("result", parsed(single), parsed(joined))

    def differs(self, where, single, joined):
        self.found.append(f"{where}: {single!r} in one walk, {joined!r} in slices")

    def same(self, where, single, joined):
        if single != joined:
            self.differs(where, single, joined)

    def nodes(self, where, single, joined):
        self.same(f"{where}: nodes", [node.tag for node in single if node.tag != "SMonDir"],
                  [node.tag for node in joined if node.tag != "SMonDir"])
        self.sets(f"{where}: monitored", [n for n in single if n.tag == "SMonDir"],
                  [n for n in joined if n.tag == "SMonDir"])
        others = [[node for node in nodes if node.tag != "SMonDir"] for nodes in (single, joined)]
        for one, other in zip(*others):
            if one.tag == "CuStatDef":
                self.statistic(one, other)
            else:
                self.same(where, one.cells(), other.cells())

    def sets(self, where, single, joined, leave=()):
        counts = [collections.Counter(node.cells(leave) for node in nodes) for nodes in (single, joined)]
        for node, count in ((counts[0] - counts[1]) + (counts[1] - counts[0])).items():
            self.found.append(f"{where}: {count} of {node} "
                              f"{'in one walk' if counts[0][node] > counts[1][node] else 'in slices'} alone")

    def statistic(self, single, joined):
        where = single.cell("sdName")
        self.same(where, single.rows, joined.rows)
        sources = [{self.source(node): node for node in statistic.below("ResultsByFS")}
                   for statistic in (single, joined)]
        self.same(f"{where}: sources", sorted(sources[0]), sorted(sources[1]))
        for name in sources[0].keys() & sources[1].keys():
            one, other = sources[0][name], sources[1][name]
            self.same(f"{where} of {name}", one.children[1].cells(), other.children[1].cells())
            self.results(f"{where} of {name}", single, one.below("CuStatResults")[0], other.below("CuStatResults")[0])

    @staticmethod
    def source(node):
        of = node.children[1]
        return of.cell("fsMountPoint" if of.tag == "Filesystem" else "faName")

    def results(self, where, definition, single, joined):
        self.list(f"{where}: directories", int(definition.cell("sdLargestDirectories")), "dirTotalSize", False,
                  single.below("SDirectory"), joined.below("SDirectory"), ORDER_DEPENDENT)
        for kind, (key, rising) in KEYS.items():
            files = [[file for file in results.below("SFile") if file.cell("sfStatType") == kind]
                     for results in (single, joined)]
            self.list(f"{where}: list {kind}", None, key, rising, *files)
        for tag in ("FileTypeSummary", "SSummary", "SSizeDist", "SUserOrGroup"):
            self.same(f"{where}: {tag}", [n.cells() for n in single.below(tag)], [n.cells() for n in joined.below(tag)])
        ages = [results.below("STimeDist") for results in (single, joined)]
        self.same(f"{where}: ages", *([node.cells(("tdAverageAge",)) for node in nodes] for nodes in ages))
        for one, other in zip(*ages):
            times = [int(node.cell("tdScanTime")) // 1000 - int(node.cell("tdAverageAge")) for node in (one, other)]
            if abs(times[0] - times[1]) > self.seconds:
                self.differs(f"{where}: time on average", *times)

    def list(self, where, _, key, rising, single, joined, leave=()):
        """Keys have to be the same and in order; among equal ones at the end any of the entries may have stayed."""
        keys = [[int(node.cell(key)) for node in nodes] for nodes in (single, joined)]
        self.same(f"{where}: keys", *keys)
        self.same(f"{where}: order", sorted(keys[1], reverse=not rising), keys[1])
        if keys[0] and keys[0] == keys[1]:
            sure = [[node for node in nodes if int(node.cell(key)) != keys[0][-1]] for nodes in (single, joined)]
            self.sets(where, *sure, leave)
