function xml = metadata_to_xml(meta, channels, planes)
% The metadata text of a MAT file, in pure ASCII: for an image of CHANNELS channels that is stored as PLANES planes,
% top row first. META has every field, checked.
  cell_size = size(meta.pattern);
  depth = meta.bit_depth;
  if isempty(depth)
    depth = 0;
  end
  parts = {'<metadata><item class="ep::CxCommonImageMetadata">', ...
           number_element('bayer_grid', find(strcmp(grid_names(), meta.grid)) - 1), ...
           number_element('layout', double(channels > 1)), ...
           number_element('pattern_width', cell_size(2)), ...
           number_element('pattern_height', cell_size(1)), ...
           number_element('color_bit_depth', depth)};
  colors = meta.pattern.';
  if ~any(colors(:) == '?')
    parts{end + 1} = text_element('pattern_colors', colors(:).');
  end
  fields = metadata_fields();
  for i = 1:size(fields, 1)
    value = meta.(fields{i, 1});
    if strcmp(fields{i, 2}, 'text')
      parts{end + 1} = text_element(fields{i, 1}, value); %#ok<AGROW>
    else
      parts{end + 1} = number_element(fields{i, 1}, value.'); %#ok<AGROW>
    end
  end
  for i = 1:size(meta.attributes, 1)
    parts{end + 1} = sprintf('<attribute name="%s">%s</attribute>', ...
                             encode_text(meta.attributes{i, 1}), encode_text(meta.attributes{i, 2})); %#ok<AGROW>
  end
  parts{end + 1} = ['</item><item class="orn::matlab::CxMatlabImageMetadata">' ...
                    text_element('reverse_rows', 'false') ...
                    number_element('orig_channels', channels) ...
                    number_element('saved_channels', planes) '</item>'];
  xml = [parts{:}, meta.other_items(:).', '</metadata>'];
end

function xml = text_element(tag, text)
  xml = '';
  if ~isempty(text)
    xml = ['<' tag '>' encode_text(text) '</' tag '>'];
  end
end

function xml = number_element(tag, values)
  texts = arrayfun(@shortest, double(values(:).'), 'UniformOutput', false);
  xml = text_element(tag, strjoin(texts, ' '));
end

% The shortest decimal text that reads back as the same number.
function text = shortest(value)
  for digits = 15:17
    text = sprintf('%.*g', digits, value);
    if str2double(text) == value
      return
    end
  end
end
