// Which cells of a long list are to be drawn: those on the screen, and a few beside them.

export function gridOf({width, count, cellWidth, cellHeight}) {
  const columns = Math.max(1, cellWidth ? Math.floor(width / cellWidth) : 1);
  const rows = Math.ceil(count / columns);
  return {columns, rows, height: rows * cellHeight, cellHeight, cellWidth: width / columns, count};
}

// `top` is how far the list's beginning has been scrolled above the window's.
export function visibleRange(grid, top, height, spareRows = 2) {
  const firstRow = Math.floor(top / grid.cellHeight) - spareRows;
  const endRow = Math.ceil((top + height) / grid.cellHeight) + spareRows;
  const cell = row => Math.min(grid.count, Math.max(0, row) * grid.columns);
  return {
    first: cell(firstRow),
    end: cell(endRow),
  };
}

export function placeOf(grid, index) {
  return {
    x: (index % grid.columns) * grid.cellWidth,
    y: Math.floor(index / grid.columns) * grid.cellHeight,
  };
}

const steps = grid => ({
  ArrowDown: grid.columns,
  ArrowUp: -grid.columns,
  ArrowRight: grid.columns > 1 ? 1 : 0,
  ArrowLeft: grid.columns > 1 ? -1 : 0,
  PageDown: grid.columns * 8,
  PageUp: grid.columns * -8,
});

// Where a key leads from a cell; null where it leads nowhere.
export function indexAfterKey(grid, index, key) {
  if (grid.count === 0)
    return null;
  if (key === 'Home' || key === 'End')
    return key === 'Home' ? 0 : grid.count - 1;
  const step = steps(grid)[key];
  if (!step)
    return null;
  const isPage = key.startsWith('Page');
  const target = index + step;
  if (target >= 0 && target < grid.count)
    return target;
  return isPage ? Math.min(grid.count - 1, Math.max(0, target)) : null;
}
