% Puts the four colour planes of a MAT file together again and compares them, sample for sample, with a 16-bit PGM.
%
%   compare_mosaic.m CAPTURE.mat CAPTURE.pgm
%
% Plain Octave and nothing of ours: this is what a reader of the file has to do.
names = argv();
mat = load(names{end - 1});

% The rows were stored bottom first: MATLAB's "axis xy" habit. The metadata says so.
if strfind(mat.ep_image_metadata, "<reverse_rows>true</reverse_rows>")
  upright = @flipud;
else
  upright = @(plane) plane;
endif
red = upright(mat.ep_image_channel_1);
green1 = upright(mat.ep_image_channel_2);
blue = upright(mat.ep_image_channel_3);
green2 = upright(mat.ep_image_channel_4);

mosaic = zeros(2 * size(red), class(red));
mosaic(1:2:end, 1:2:end) = red;      % R  G1
mosaic(1:2:end, 2:2:end) = green1;   % G2 B
mosaic(2:2:end, 1:2:end) = green2;
mosaic(2:2:end, 2:2:end) = blue;

file = fopen(names{end}, "r", "ieee-be");
assert(strcmp(strtrim(fgetl(file)), "P5"));
extent = [];
while numel(extent) < 3
  extent = [extent, sscanf(regexprep(fgetl(file), "#.*", ""), "%d")'];
endwhile
expected = fread(file, [extent(1), extent(2)], "uint16=>uint16")';
fclose(file);

assert(isequal(size(mosaic), size(expected)), "the sizes differ");
printf("%d x %d samples in four planes of %d x %d, smallest %d, largest %d\n", ...
       columns(mosaic), rows(mosaic), columns(red), rows(red), min(mosaic(:)), max(mosaic(:)));
printf("samples that differ from the sensor's: %d of %d\n", nnz(mosaic != expected), numel(expected));
assert(isequal(mosaic, expected), "the mosaic is not the sensor's");
