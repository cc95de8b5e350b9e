function cell_size = mosaic_cell(grid, stated)
% Rows and columns of the cell of the grid code GRID; [0, 0] where there is no mosaic. STATED is for grid 5.
  cell_size = [0, 0];
  if any(grid == 0:3)
    cell_size = [2, 2];
  elseif grid == 5 && numel(stated) == 2 && all(stated > 0)
    cell_size = stated;
  end
end
