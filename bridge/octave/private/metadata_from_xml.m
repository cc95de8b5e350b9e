function meta = metadata_from_xml(xml)
% The fields of the metadata text of a MAT file. Numbers and lists that it does not state are [], texts ''.
  [common, storage, meta.other_items] = split_items(xml);

  meta.bayer_grid = number_of(common, 'bayer_grid', 4);
  meta.layout = number_of(common, 'layout', 0);
  meta.pattern_width = number_of(common, 'pattern_width', 0);
  meta.pattern_height = number_of(common, 'pattern_height', 0);
  meta.color_bit_depth = number_of(common, 'color_bit_depth', []);
  meta.pattern_colors = text_of(common, 'pattern_colors');
  fields = metadata_fields();
  for i = 1:size(fields, 1)
    meta.(fields{i, 1}) = value_of(common, fields{i, :});
  end
  meta.attributes = cell(0, 2);
  for i = find(strcmp({common.tag}, 'attribute'))
    meta.attributes(end + 1, :) = {common(i).name, common(i).text};
  end

  meta.reverse_rows = strcmpi(strtrim(text_of(storage, 'reverse_rows')), 'true');
  meta.saved_channels = number_of(storage, 'saved_channels', []);
end

% The children of the two items that are understood, and the text of all others.
function [common, storage, others] = split_items(xml)
  common = struct('tag', {}, 'name', {}, 'text', {});
  storage = common;
  others = '';
  items = xml_items(xml);
  for i = 1:numel(items)
    if strcmp(items(i).class, 'ep::CxCommonImageMetadata') && isempty(common)
      common = items(i).children;
    elseif strcmp(items(i).class, 'orn::matlab::CxMatlabImageMetadata') && isempty(storage)
      storage = items(i).children;
    else
      others = [others, items(i).xml]; %#ok<AGROW>
    end
  end
end

function text = text_of(children, tag)
  i = find(strcmp({children.tag}, tag), 1);
  text = '';
  if ~isempty(i)
    text = children(i).text;
  end
end

function number = number_of(children, tag, default)
  number = str2double(text_of(children, tag));
  if isnan(number)
    number = default;
  end
end

function value = value_of(children, tag, kind)
  switch kind
    case 'text'
      value = text_of(children, tag);
    case {'integer', 'number'}
      value = number_of(children, tag, []);
    otherwise
      value = str2double(regexp(strtrim(text_of(children, tag)), '\s+', 'split'));
      if any(isnan(value))
        value = [];
      elseif strcmp(kind, 'matrix') && numel(value) == 9
        value = reshape(value, 3, 3).';
      end
  end
end
