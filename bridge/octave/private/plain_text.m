function value = plain_text(value)
% A string object of MATLAB as a row of characters; any other value as it is.
  if isa(value, 'string') && isscalar(value)
    value = char(value);
  end
end
