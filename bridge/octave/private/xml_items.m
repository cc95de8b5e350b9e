function items = xml_items(xml)
% The elements below the root of a metadata text, with their class, their own text and their child elements.
%
% A small scanner, because Octave has no XML reader without Java.
  pattern = ['<!--.*?-->|<!\[CDATA\[.*?\]\]>|<\?.*?\?>|<(?:[^<>"'']|"[^"]*"|''[^'']*'')*>'];
  [first, last, tags, texts] = regexp(xml, pattern, 'start', 'end', 'match', 'split');
  items = struct('class', {}, 'xml', {}, 'children', {});
  open = {};
  for i = 1:numel(tags)
    [kind, name] = tag_kind(tags{i});
    if strcmp(kind, 'declaration')
      error('orn:xml', 'it has a document type declaration');
    elseif strcmp(kind, 'cdata') && numel(open) == 3
      items = add_text(items, tags{i}(10:end - 3));
    elseif any(strcmp(kind, {'start', 'empty'}))
      open{end + 1} = name; %#ok<AGROW>
      if numel(open) == 2
        start = first(i);
        items(end + 1) = new_item(tags{i}); %#ok<AGROW>
      elseif numel(open) == 3
        items(end).children(end + 1) = new_child(tags{i}, name);
      end
    end
    if any(strcmp(kind, {'end', 'empty'}))
      if isempty(open) || ~strcmp(open{end}, name)
        error('orn:xml', 'its elements are not nested');
      elseif numel(open) == 2
        items(end).xml = xml(start:last(i));
      end
      open(end) = [];
    end
    if numel(open) == 3
      items = add_text(items, decode_text(texts{i + 1}));
    end
  end
  if ~isempty(open) || any([texts{:}] == '<') || ~any(strncmp(tags, '<metadata', 9))
    error('orn:xml', 'it is no metadata of orn');
  end
end

function [kind, name] = tag_kind(tag)
  name = regexp(tag, '^</?([^\s/>]+)', 'tokens', 'once');
  name = ['', name{:}];
  if strncmp(tag, '<!--', 4) || strncmp(tag, '<?', 2)
    kind = 'comment';
  elseif strncmp(tag, '<![CDATA[', 9)
    kind = 'cdata';
  elseif strncmp(tag, '<!', 2)
    kind = 'declaration';
  elseif strncmp(tag, '</', 2)
    kind = 'end';
  elseif tag(end - 1) == '/'
    kind = 'empty';
  else
    kind = 'start';
  end
end

function item = new_item(tag)
  item.class = attribute_of(tag, 'class');
  item.xml = '';
  item.children = struct('tag', {}, 'name', {}, 'text', {});
end

function child = new_child(tag, name)
  child.tag = name;
  child.name = attribute_of(tag, 'name');
  child.text = '';
end

function value = attribute_of(tag, name)
  value = regexp(tag, ['\s' name '\s*=\s*(?:"([^"]*)"|''([^'']*)'')'], 'tokens', 'once');
  value = decode_text(['', value{:}]);
end

function items = add_text(items, text)
  items(end).children(end).text = [items(end).children(end).text, text];
end
