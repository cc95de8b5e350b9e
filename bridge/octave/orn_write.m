function orn_write(file, image, meta)
% ORN_WRITE  Write an image to a MAT file so that orn reads the same.
%
%   orn_write(file, image) writes a real array of class double, single, int8 to
%   int32 or uint8 to uint32: rows x columns for one channel, rows x columns x
%   channels for more. The file name ends in .mat. An existing file is replaced
%   once the new one has been read back and compared.
%
%   orn_write(file, image, meta) also writes what is known of the image: a struct
%   as ORN_READ returns it, or any of its fields. For a mosaic, rows x columns,
%   meta.grid is enough; a cell of another size takes meta.grid = 'cell' and
%   meta.pattern. meta.raw = false makes a plain image of what was a mosaic.
%   meta.source says where an image came from and is not written.
%
%   Examples:
%     % a photograph; then orn convert photo.mat photo.tif
%     orn_write('photo.mat', image)
%
%     % a capture of 12 bits
%     orn_write('capture.mat', mosaic, struct('grid', 'RGGB', 'bit_depth', 12))
%
%     % correct the samples of a capture, keep everything else
%     [mosaic, meta] = orn_read('capture.mat');
%     orn_write('corrected.mat', medfilt2(mosaic, [5, 5]), meta)
%
%   See also ORN_READ.

  if nargin < 2 || nargin > 3
    error('orn:usage', 'orn_write takes the name of a file, an image and, if known, its metadata');
  end
  file = plain_text(file);
  if ~ischar(file) || size(file, 1) ~= 1
    error('orn:usage', 'the name of the file must be a row of characters');
  elseif isempty(regexpi(file, '\.mat$', 'once'))
    refuse(file, 'the name must end in .mat, by which orn knows a MAT file');
  end
  if nargin < 3
    meta = struct();
  end
  check_image(file, image);
  meta = complete(file, image, meta);
  planes = split_planes(image, meta);
  variables = struct();
  for i = 1:numel(planes)
    variables.(sprintf('ep_image_channel_%d', i)) = planes{i};
  end
  variables.ep_image_metadata = metadata_to_xml(meta, size(image, 3), numel(planes));
  save_safely(file, variables, image);
end

function refuse(file, varargin)
  error('orn:write', '%s: %s', file, sprintf(varargin{:}));
end

function check_image(file, image)
  classes = {'double', 'single', 'int8', 'uint8', 'int16', 'uint16', 'int32', 'uint32'};
  if ~any(strcmp(class(image), classes))
    refuse(file, 'an image of class %s cannot be written, only of %s', class(image), ...
           strjoin(classes, ', '));
  elseif ~isreal(image) || issparse(image)
    refuse(file, 'a complex or sparse array is no image');
  elseif isempty(image) || ndims(image) > 3
    refuse(file, 'an image has rows, columns and perhaps channels, this array is%s', ...
           sprintf(' %d', size(image)));
  elseif numel(image) / size(image, 3) * sample_bits(image) / 8 > 2 ^ 31 - 1024
    refuse(file, 'a channel of more than 2 GiB does not fit into a MAT file');
  end
end

% META with every field, checked: what is not stated has the value that means "not known".
function meta = complete(file, image, given)
  if ~isstruct(given) || numel(given) ~= 1
    refuse(file, 'the metadata must be a struct');
  end
  fields = metadata_fields();
  known = [{'raw'; 'grid'; 'pattern'; 'bit_depth'; 'source'; 'attributes'; 'other_items'}; fields(:, 1)];
  unknown = setdiff(fieldnames(given), known);
  if ~isempty(unknown)
    refuse(file, 'the metadata has no field "%s"', unknown{1});
  end
  meta = struct('raw', [], 'grid', 'none', 'pattern', '', 'bit_depth', [], 'other_items', '');
  meta.attributes = cell(0, 2);
  for i = 1:size(fields, 1)
    meta.(fields{i, 1}) = [];
  end
  for name = fieldnames(given).'
    meta.(name{1}) = plain_text(given.(name{1}));
  end
  if iscell(meta.attributes)
    meta.attributes = cellfun(@plain_text, meta.attributes, 'UniformOutput', false);
  end
  meta = check_grid(file, image, meta, isfield(given, 'grid'));
  check_depth(file, image, meta.bit_depth);
  for i = 1:size(fields, 1)
    check_field(file, fields{i, 1}, fields{i, 2}, meta.(fields{i, 1}));
  end
  check_texts(file, meta);
end

function meta = check_grid(file, image, meta, is_stated)
  if ~any(strcmp(meta.grid, grid_names()))
    refuse(file, 'meta.grid must be one of %s', strjoin(grid_names(), ', '));
  elseif ~isempty(meta.raw) && ~(isscalar(meta.raw) && (islogical(meta.raw) || isnumeric(meta.raw)))
    refuse(file, 'meta.raw must be true or false');
  elseif ~ischar(meta.pattern) || ndims(meta.pattern) > 2
    refuse(file, 'meta.pattern must be a char matrix');
  end
  if isequal(meta.raw, false)
    meta.grid = 'none';
  elseif ~is_stated && ~isempty(meta.pattern)
    meta.grid = 'cell';
  elseif isequal(meta.raw, true) && strcmp(meta.grid, 'none')
    refuse(file, 'meta.raw says that it is a mosaic, and there is no meta.grid to say which');
  end
  if strcmp(meta.grid, 'none')
    meta.pattern = '';
  else
    meta = check_pattern(file, image, meta);
  end
end

function meta = check_pattern(file, image, meta)
  letters = meta.pattern.';
  names = grid_names();
  if strcmp(meta.grid, 'cell') && isequal(size(letters), [2, 2]) && any(strcmp(letters(:).', names(1:4)))
    meta.grid = letters(:).';
  end
  if strcmp(meta.grid, 'cell')
    if numel(letters) < 2 || any(letters(:) <= ' ' | letters(:) > '~')
      refuse(file, 'a mosaic of grid "cell" needs its colours in meta.pattern, one letter each');
    end
  elseif isempty(letters)
    meta.pattern = reshape(meta.grid, 2, 2).';
  elseif ~strcmp(letters(:).', meta.grid)
    refuse(file, 'meta.grid and meta.pattern contradict each other');
  end
  cell_size = size(meta.pattern);
  if ndims(image) > 2
    refuse(file, 'an image of %d channels is no mosaic: set meta.raw to false', size(image, 3));
  elseif any(mod(size(image), cell_size))
    refuse(file, 'a mosaic of %d x %d is no whole number of %d x %d cells', size(image), cell_size);
  end
end

function check_depth(file, image, depth)
  [held, needed] = sample_bits(image);
  if isempty(depth)
    return
  elseif ~isnumeric(depth) || ~isscalar(depth) || ~any(depth == 1:64)
    refuse(file, 'meta.bit_depth must be a whole number of bits');
  elseif depth > held
    refuse(file, 'meta.bit_depth is %d, samples of class %s have %d bits', depth, class(image), held);
  elseif depth < needed
    refuse(file, 'meta.bit_depth is %d, the largest sample needs %d bits', depth, needed);
  end
end

function check_field(file, name, kind, value)
  if isempty(value)
    return
  elseif strcmp(kind, 'text')
    if ~ischar(value) || size(value, 1) ~= 1
      refuse(file, 'meta.%s must be a row of characters', name);
    end
    return
  end
  if ~isnumeric(value) || ~isreal(value) || ~all(isfinite(value(:)))
    refuse(file, 'meta.%s must be finite numbers', name);
  elseif any(strcmp(kind, {'integer', 'number'})) && ~isscalar(value)
    refuse(file, 'meta.%s must be one number', name);
  elseif strcmp(kind, 'integer') && (value ~= fix(value) || abs(value) >= 2 ^ 31)
    refuse(file, 'meta.%s must be a whole number', name);
  end
end

function check_texts(file, meta)
  is_table = iscell(meta.attributes) && (isempty(meta.attributes) || size(meta.attributes, 2) == 2);
  if ~is_table || ~all(cellfun(@(text) ischar(text) && size(text, 1) <= 1, meta.attributes(:)))
    refuse(file, 'meta.attributes must be a cell of {name, text} rows');
  elseif ~ischar(meta.other_items)
    refuse(file, 'meta.other_items must be as orn_read has returned it');
  end
  try
    xml_items(['<metadata>' meta.other_items(:).' '</metadata>']);
  catch
    refuse(file, 'meta.other_items must be as orn_read has returned it');
  end
end

function planes = split_planes(image, meta)
  if strcmp(meta.grid, 'none')
    planes = cell(1, size(image, 3));
    for i = 1:numel(planes)
      planes{i} = image(:, :, i);
    end
    return
  end
  cell_size = size(meta.pattern);
  [row, column] = cell_positions(find(strcmp(grid_names(), meta.grid)) - 1, cell_size);
  planes = cell(1, numel(row));
  for i = 1:numel(planes)
    planes{i} = image(row(i):cell_size(1):end, column(i):cell_size(2):end);
  end
end

% The file appears under its name when it is whole. What saving says is no proof: a full disk can go unnoticed.
function save_safely(file, variables, image) %#ok<INUSL>
  folder = fileparts(file);
  if isempty(folder)
    folder = pwd();
  elseif exist(folder, 'dir') ~= 7
    refuse(file, 'its folder does not exist');
  end
  part = [tempname(folder) '.mat'];
  remove = onCleanup(@() remove_file(part));
  try
    save(part, '-struct', 'variables', '-v6');
  catch problem
    refuse(file, 'it cannot be written (%s)', problem.message);
  end
  if ~isequaln(orn_read(part), image)
    refuse(file, 'what was written is not the image: the disk may be full');
  end
  [done, reason] = movefile(part, file, 'f');
  if ~done
    refuse(file, 'it cannot be written (%s)', strtrim(reason));
  end
end

function remove_file(file)
  if exist(file, 'file') == 2
    delete(file);
  end
end
