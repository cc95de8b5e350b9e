% Saves arrays as anybody does, without anything of orn.
%
%   arrays.m BRIDGE FOLDER
%
% Element (row, column, channel), counted from 0, is 40 * channel + 10 * row + column.
[column, row, channel] = meshgrid(0:5, 0:2, 0:6);
numbers = 40 * channel + 10 * row + column;
for type = {'double', 'single', 'int8', 'uint8', 'int16', 'uint16', 'int32', 'uint32'}
  s.([type{1}, '_rgb']) = cast(numbers(:, :, 1:3), type{1});
  s.([type{1}, '_gray']) = cast(numbers(:, :, 1), type{1});
end
s.seven = uint16(numbers);
s.mask = numbers(:, :, 1) > 12;
s.phase = complex(numbers, 1);
s.note = 'a text';
s.big = int64(numbers);
s.film = cat(4, numbers, numbers);
s.nothing = zeros(4, 0, 3);
s.thin = sparse(eye(4));
s.list = {1, 2};
s.record.a = 1;
arguments = argv();
save('-v6', fullfile(arguments{end}, 'octave v6.mat'), '-struct', 's');
save('-v7', fullfile(arguments{end}, 'octave v7.mat'), '-struct', 's');
