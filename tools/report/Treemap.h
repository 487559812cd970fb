#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Where the rectangles of a treemap lie. Nothing is drawn here.

namespace agent::tools {

struct Rectangle {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  double area() const { return width * height; }
};

/// Cuts a rectangle into pieces whose areas are as the weights, each as close to a square as may be: the
/// pieces fill row after row along the shorter side, and a row ends where one more piece would make its worst
/// one longer.
/// @param weights the largest first; those that aren't above zero get an empty rectangle
/// @return one rectangle for each weight, in their order; empty ones where the arithmetic leaves no room
std::vector<Rectangle> squarified(const std::vector<double>& weights, const Rectangle& whole);

/// A directory to draw.
struct TreemapDirectory {
  std::string path;  ///< without a slash behind, but for the root; bytes
  double space = 0;
};

/// The same with a directory of no space of its own at each place where two of the paths part, so that what
/// lies in one directory is drawn in one frame.
std::vector<TreemapDirectory> withForks(std::vector<TreemapDirectory> directories);

/// One rectangle of a treemap: a directory, or the frame around one and those that lie in it.
struct TreemapCell {
  size_t directory = 0;  ///< its place in the list that was given
  size_t parent =
      NO_FRAME;       ///< place of the frame around it among the cells; frames stand before what is in them
  size_t branch = 0;  ///< the same for all cells that lie in one outermost directory; counted from 0
  bool isFrame = false;  ///< it has a title and holds the cells of what lies below, its own among them
  double space = 0;      ///< what the rectangle stands for
  Rectangle place;

  static constexpr size_t NO_FRAME = static_cast<size_t>(-1);
};

/// What the space of a directory is: of what lies directly in it, or of all below it as well.
enum class SpaceOf { DIRECTLY_IN, WHOLE_TREE };

struct TreemapFrame {
  double title = 0;   ///< height that is kept for a frame's title
  double margin = 0;  ///< between a frame and what is in it
};

/// Lays out directories, each inside the nearest one of them that it lies below. A frame that would have no
/// room for anything but its title is one rectangle without.
/// @param directories in any order; of two with the same path the second lies in the first
std::vector<TreemapCell> layOut(const std::vector<TreemapDirectory>& directories, SpaceOf spaceOf,
                                const Rectangle& whole, const TreemapFrame& frame);

}  // namespace agent::tools
