% Calls orn_read and orn_write as they are not meant to be called.
%
%   refusals.m BRIDGE FOLDER
%
% Writes the message of each call to NAME.octave in the folder; of a call that succeeds, "nothing".
function attempt(folder, name, call)
  message = 'nothing';
  try
    call();
  catch problem
    message = problem.message;
  end
  id = fopen(fullfile(folder, [name '.octave']), 'w');
  fwrite(id, message);
  fclose(id);
end

arguments = argv();
addpath(fullfile(arguments{end - 1}, 'octave'));
folder = arguments{end};
in = @(name) fullfile(folder, name);
kept = in('kept.mat');
gray = uint16(magic(6));
mosaic = struct('grid', 'RGGB');

for name = {'missing', 'folder', 'text', 'foreign', 'damaged metadata', 'metadata of numbers', 'missing plane', ...
            'unlike planes', 'truncated', 'several images'}
  attempt(folder, name{1}, @() orn_read(in([name{1} '.mat'])));
end
attempt(folder, 'no such image', @() orn_read(in('several images.mat'), 'c'));
attempt(folder, 'no file name', @() orn_read(7));

attempt(folder, 'int64', @() orn_write(kept, int64(gray)));
attempt(folder, 'logical', @() orn_write(kept, gray > 7));
attempt(folder, 'text image', @() orn_write(kept, 'abc'));
attempt(folder, 'complex', @() orn_write(kept, complex(magic(6), 1)));
attempt(folder, 'four dimensions', @() orn_write(kept, ones(2, 2, 2, 2)));
attempt(folder, 'empty', @() orn_write(kept, zeros(0, 3)));
attempt(folder, 'suffix', @() orn_write(in('kept.tif'), gray));
attempt(folder, 'no folder', @() orn_write(in('nowhere/x.mat'), gray));
attempt(folder, 'metadata type', @() orn_write(kept, gray, 'RGGB'));
attempt(folder, 'unknown field', @() orn_write(kept, gray, struct('Grid', 'RGGB')));
attempt(folder, 'unknown grid', @() orn_write(kept, gray, struct('grid', 'RGBG')));
attempt(folder, 'odd mosaic', @() orn_write(kept, gray(:, 1:5), mosaic));
attempt(folder, 'mosaic of channels', @() orn_write(kept, cat(3, gray, gray), mosaic));
attempt(folder, 'raw without grid', @() orn_write(kept, gray, struct('raw', true)));
attempt(folder, 'cell without pattern', @() orn_write(kept, gray, struct('grid', 'cell')));
attempt(folder, 'contradiction', @() orn_write(kept, gray, struct('grid', 'RGGB', 'pattern', ['GR'; 'BG'])));
attempt(folder, 'small depth', @() orn_write(kept, gray, struct('bit_depth', 5)));
attempt(folder, 'large depth', @() orn_write(kept, gray, struct('bit_depth', 17)));
attempt(folder, 'broken depth', @() orn_write(kept, gray, struct('bit_depth', 12.5)));
attempt(folder, 'number for a text', @() orn_write(kept, gray, struct('camera_make', 7)));
attempt(folder, 'text for a number', @() orn_write(kept, gray, struct('iso', 'fast')));
attempt(folder, 'not finite', @() orn_write(kept, gray, struct('black_levels', [1, NaN])));
attempt(folder, 'broken integer', @() orn_write(kept, gray, struct('orientation', 1.5)));
attempt(folder, 'attributes', @() orn_write(kept, gray, struct('attributes', {{1, 'x'}})));
attempt(folder, 'other items', @() orn_write(kept, gray, struct('other_items', '<item>')));
