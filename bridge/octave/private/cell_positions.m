function [row, column] = cell_positions(grid, cell_size)
% Where each plane stands in the cell of the mosaic. Planes of the 2 x 2 grids come in the order R, G1 (the green in
% the row of red), B, G2; those of any other cell row by row.
  names = grid_names();
  order = 1:prod(cell_size);
  if grid < 4
    red = find(names{grid + 1} == 'R') - 1;
    % Across the row flips the lowest bit of the position, down the column the next one.
    order = bitxor(red, [0, 1, 3, 2]) + 1;
  end
  row = ceil(order / cell_size(2));
  column = order - (row - 1) * cell_size(2);
end
