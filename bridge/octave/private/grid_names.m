function names = grid_names()
% The colour-filter grids, in the order of their codes 0 to 5.
  names = {'BGGR', 'RGGB', 'GBRG', 'GRBG', 'none', 'cell'};
end
