function [image, meta] = orn_read(file, name)
% ORN_READ  Read an image that orn has written to a MAT file.
%
%   image = orn_read(file) returns the samples, upright: rows x columns for one
%   channel or a mosaic, rows x columns x channels for more. The class is that of
%   the samples in the file.
%
%   [image, meta] = orn_read(file) also returns what is known of the image, as a
%   struct. A number that is not known is [], a text ''.
%
%     raw          true for a mosaic: each sample has one colour of the pattern
%     grid         'RGGB', 'BGGR', 'GBRG' or 'GRBG'; 'cell' for a cell of another
%                  size; 'none'. It describes image(1:2, 1:2)
%     pattern      colours of the cell as a char matrix, such as ['RG'; 'GB'];
%                  '?' for a colour that is not known
%     bit_depth    significant bits of a sample
%     source       base name of the variables that hold the image
%     sensor_width, sensor_height, left_margin, top_margin
%                  the whole sensor, and where the image begins on it
%     black_levels, white_level
%                  the levels of no light (one, or one for each of R, G1, B, G2;
%                  for 'cell' one for each sample of the cell) and of saturation
%     white_balance, color_matrix
%                  multipliers of R, G and B; XYZ to camera RGB, 3 x 3
%     camera_make, camera_model, exposure_time (s), aperture, iso,
%     focal_length (mm), capture_time (ISO 8601), orientation (Exif, 1 to 8)
%     attributes   further texts of the file, a cell of {name, text} rows
%     other_items  metadata that only orn understands, kept for orn_write
%
%   [...] = orn_read(file, name) reads the image of that base name, where
%   "orn convert --name" has given one. A single image is found by itself.
%
%   Examples:
%     % look at a photograph (orn convert photo.tif photo.mat)
%     image = orn_read('photo.mat');
%     imshow(image)
%
%     % the red samples of a capture (orn convert capture.dng capture.mat),
%     % less their black level
%     [mosaic, meta] = orn_read('capture.mat');
%     [row, column] = find(meta.pattern == 'R');
%     red = double(mosaic(row:2:end, column:2:end)) - meta.black_levels(1);
%
%   See also ORN_WRITE.

  if nargin < 1 || nargin > 2
    error('orn:usage', 'orn_read takes the name of a file and, if need be, of an image');
  end
  if nargin < 2
    name = '';
  end
  file = plain_text(file);
  name = plain_text(name);
  check_text(file, 'the name of the file');
  check_text(name, 'the name of the image');

  variables = load_variables(file);
  base = find_image(file, variables, name);
  if isfield(variables, 'ep_image_metadata') && ~is_entropy(base)
    item = read_items(file, variables.ep_image_metadata);
    planes = read_planes(file, variables, base, item.saved_channels);
    if item.reverse_rows
      planes = cellfun(@flipud, planes, 'UniformOutput', false);
    end
  else
    item = plain_items();
    [planes, item] = read_entropy_planes(file, variables, base, item);
  end
  [image, cell_size] = join_planes(file, planes, item);
  meta = describe(image, item, cell_size, base);
end

function check_text(text, what)
  if ~ischar(text) || size(text, 1) > 1
    error('orn:usage', '%s must be a row of characters', what);
  end
end

function refuse(file, varargin)
  error('orn:read', '%s: %s', file, sprintf(varargin{:}));
end

function yes = is_entropy(base)
  yes = any(strcmp(base, {'PIG', 'PDG'}));
end

function variables = load_variables(file)
  if exist(file, 'dir') == 7
    refuse(file, 'it is a folder, not a file');
  elseif exist(file, 'file') ~= 2
    refuse(file, 'the file does not exist');
  end
  try
    variables = load(file, '-mat');
  catch problem
    refuse(file, 'it is not a MAT file, or it is damaged (%s)', problem.message);
  end
end

% The base name of the image: what stands before "_channel_1" or "_channel_R".
function base = find_image(file, variables, name)
  names = fieldnames(variables);
  found = names(~cellfun('isempty', regexp(names, '._channel_(1|R)$', 'once')));
  found = unique(regexprep(found, '_channel_(1|R)$', ''));
  if isempty(found)
    refuse(file, 'it holds no image that orn has written (orn convert --variable reads other arrays)');
  end
  for usual = {name, 'PIG', 'PDG', 'ep_image'}
    if any(strcmp(usual{1}, found))
      base = usual{1};
      return
    elseif ~isempty(name)
      refuse(file, 'it holds no image "%s"%s', name, sprintf(', but "%s"', found{:}));
    end
  end
  if numel(found) > 1
    refuse(file, 'it holds several images, name one of them:%s', sprintf(' %s', found{:}));
  end
  base = found{1};
end

function item = read_items(file, text)
  if ~ischar(text) || isempty(text)
    refuse(file, 'its metadata is no text');
  end
  try
    item = metadata_from_xml(strtok(text(:).', char(0)));
  catch problem
    refuse(file, 'its metadata is damaged (%s)', problem.message);
  end
  if isempty(item.saved_channels) || item.saved_channels < 1
    refuse(file, 'its metadata does not say how many planes there are');
  end
end

% What stands for the metadata where a file has none.
function item = plain_items()
  item = metadata_from_xml('<metadata/>');
  item.reverse_rows = false;
end

function planes = read_planes(file, variables, base, count)
  planes = {};
  for i = 1:count
    planes{i} = read_plane(file, variables, sprintf('%s_channel_%d', base, i)); %#ok<AGROW>
    if ~strcmp(class(planes{i}), class(planes{1})) || ~isequal(size(planes{i}), size(planes{1}))
      refuse(file, 'the variable "%s_channel_%d" is not like the first', base, i);
    end
  end
end

function plane = read_plane(file, variables, variable)
  if ~isfield(variables, variable)
    refuse(file, 'the variable "%s" is missing', variable);
  end
  plane = variables.(variable);
  if ~isnumeric(plane) || ~isreal(plane) || issparse(plane) || ndims(plane) > 2 || isempty(plane)
    refuse(file, 'the variable "%s" is no plane of an image', variable);
  end
end

% Entropy images have no metadata: planes by number, or the four colours of a BGGR mosaic.
function [planes, item] = read_entropy_planes(file, variables, base, item)
  names = arrayfun(@(i) sprintf('%s_channel_%d', base, i), 1:numel(fieldnames(variables)), ...
                   'UniformOutput', false);
  if isfield(variables, [base '_channel_R'])
    names = strcat([base '_channel_'], {'R', 'G1', 'B', 'G2'});
  end
  planes = {};
  while numel(planes) < numel(names) && isfield(variables, names{numel(planes) + 1})
    planes{end + 1} = read_plane(file, variables, names{numel(planes) + 1}); %#ok<AGROW>
    if ~isa(planes{end}, 'double') || ~isequal(size(planes{end}), size(planes{1}))
      refuse(file, 'it holds no image that orn has written: "%s" is no plane of doubles', ...
             names{numel(planes)});
    end
  end
  if numel(planes) == 4 && isfield(variables, [base '_channel_R'])
    item.bayer_grid = 0;
  end
end

function [image, cell_size] = join_planes(file, planes, item)
  cell_size = mosaic_cell(item.bayer_grid, [item.pattern_height, item.pattern_width]);
  is_mosaic = numel(planes) > 1 && numel(planes) == prod(cell_size) && item.layout == 0;
  if ~is_mosaic
    cell_size = [0, 0];
    image = cat(3, planes{:});
    return
  end
  [rows, columns] = size(planes{1});
  image = zeros([rows, columns] .* cell_size, class(planes{1}));
  [row, column] = cell_positions(item.bayer_grid, cell_size);
  for i = 1:numel(planes)
    image(row(i):cell_size(1):end, column(i):cell_size(2):end) = planes{i};
  end
end

function meta = describe(image, item, cell_size, base)
  names = grid_names();
  meta.raw = prod(cell_size) > 0;
  meta.grid = 'none';
  meta.pattern = '';
  if meta.raw
    meta.grid = names{item.bayer_grid + 1};
    meta.pattern = pattern_of(meta.grid, item.pattern_colors, cell_size);
  end
  meta.bit_depth = true_depth(image, item.color_bit_depth);
  meta.source = base;
  fields = metadata_fields();
  for i = 1:size(fields, 1)
    meta.(fields{i, 1}) = item.(fields{i, 1});
  end
  meta.attributes = item.attributes;
  meta.other_items = item.other_items;
end

function pattern = pattern_of(grid, colors, cell_size)
  if ~strcmp(grid, 'cell')
    colors = grid;
  elseif numel(colors) ~= prod(cell_size)
    colors = repmat('?', 1, prod(cell_size));
  end
  pattern = reshape(colors, cell_size([2, 1])).';
end

% The depth that was declared, unless the samples need more.
function depth = true_depth(image, declared)
  [held, needed] = sample_bits(image);
  depth = declared;
  if isempty(declared) || declared < max(needed, 1) || declared > held
    depth = held;
    if isa(image, 'uint16')
      depth = needed;
    end
  end
end
