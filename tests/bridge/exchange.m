% Reads every MAT file of a folder with orn_read and writes it anew with orn_write.
%
%   exchange.m BRIDGE SOURCE TARGET
%
% Beside each new file stand its samples as read, row by row with the channels of a sample together (NAME.samples),
% and what was said of them (NAME.facts); where something fails, only the message (NAME.failure).
function write_text(file, text)
  id = fopen(file, 'w');
  fwrite(id, text);
  fclose(id);
end

function text = facts(image, meta)
  numbers = @(values) strjoin(arrayfun(@(v) sprintf('%.17g', v), values(:).', 'UniformOutput', false), ' ');
  text = sprintf('%s %d %d %d\n', class(image), size(image, 1), size(image, 2), size(image, 3));
  text = [text, sprintf('%d %s %s %d %s\n', meta.raw, meta.grid, strjoin(cellstr(meta.pattern).', '/'), ...
                        meta.bit_depth, meta.source)];
  for name = {'sensor_width', 'left_margin', 'black_levels', 'white_balance', 'exposure_time', 'iso', 'orientation'}
    text = [text, numbers(meta.(name{1})), sprintf('\n')];
  end
  text = [text, numbers(meta.color_matrix.'), sprintf('\n')];
  for name = {'camera_make', 'camera_model', 'capture_time'}
    text = [text, meta.(name{1}), sprintf('\n')];
  end
  for i = 1:size(meta.attributes, 1)
    text = [text, meta.attributes{i, 1}, '=', strrep(meta.attributes{i, 2}, sprintf('\n'), '|'), sprintf('\n')];
  end
end

function exchange(source, target)
  files = dir(fullfile(source, '*.mat'));
  for i = 1:numel(files)
    result = fullfile(target, files(i).name(1:end - 4));
    try
      [image, meta] = orn_read(fullfile(source, files(i).name));
      write_text([result '.facts'], facts(image, meta));
      id = fopen([result '.samples'], 'w');
      fwrite(id, permute(image, [3, 2, 1]), class(image));
      fclose(id);
      orn_write([result '.mat'], image, meta);
    catch problem
      write_text([result '.failure'], problem.message);
    end
  end
end

warning('error', 'Octave:num-to-str');
arguments = argv();
addpath(fullfile(arguments{end - 2}, 'octave'));
exchange(arguments{end - 1}, arguments{end});
